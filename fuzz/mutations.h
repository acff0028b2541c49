#pragma once

#include <algorithm>
#include <random>
#include <vector>

using Bytes = std::vector<char>;

/// Mutations of a corpus, which are the same in every run and with every compiler. They know nothing of the code under
/// test: what they find at all they find often; the rest takes an engine that follows the code.
class Mutations
{
public:
    /// The files are not owned and must outlive this object.
    explicit Mutations(const std::vector<Bytes> &files) : m_files(files) {}

    /// The next file in turn, changed in some places.
    Bytes next()
    {
        Bytes bytes = m_files[m_next++ % m_files.size()];
        for (size_t changes = 1 + below(4); changes > 0; --changes)
            change(bytes);
        return bytes;
    }

private:
    using Offset = Bytes::difference_type;

    void change(Bytes &bytes)
    {
        constexpr char kOdd[] = {0,   1,   '\t', '\n', ' ', '"', '\'', '-', '.',
                                 '/', '0', '9',  ':',  ';', '[', '\\', '{', -1};
        const auto from = bytes.begin() + static_cast<Offset>(below(bytes.size() + 1));
        const auto to = from + static_cast<Offset>(below(std::min<size_t>(kMostBytes, bytes.end() - from) + 1));
        const Bytes piece(from, to);
        switch (below(6)) {
        case 0:
            bytes.erase(from, to);
            break;
        case 1: // once more
            bytes.insert(bytes.begin() + static_cast<Offset>(below(bytes.size() + 1)), piece.begin(), piece.end());
            break;
        case 2: // the end of another file
        {
            const Bytes &other = m_files[below(m_files.size())];
            bytes.erase(from, bytes.end());
            bytes.insert(bytes.end(), other.begin() + static_cast<Offset>(below(other.size() + 1)), other.end());
            break;
        }
        case 3:
            bytes.insert(from, kOdd[below(sizeof kOdd)]);
            break;
        case 4:
            if (from != bytes.end())
                *from = kOdd[below(sizeof kOdd)];
            break;
        default:
            if (from != bytes.end())
                *from = static_cast<char>(*from ^ 1 << below(8));
        }
    }

    size_t below(size_t bound) { return m_random() % bound; }

    static constexpr size_t kMostBytes = 32;
    const std::vector<Bytes> &m_files;
    size_t m_next = 0;
    std::mt19937 m_random; // with its standard seed
};
