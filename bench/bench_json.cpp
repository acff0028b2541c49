// Reading and writing JSON text beside Qt's own way, with RapidJSON's bare event reader as the limit. Prints the
// ratios, then the usual table; ends with 1 when a target is missed.

#include "alternating.h"
#include "jsonparser.h"
#include "target.h"

#include <QJsonDocument>
#include <QVariant>

#include <benchmark/benchmark.h>
#include <rapidjson/reader.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr double kTarget = 2.0;              // times faster than Qt, both ways
constexpr qsizetype kPieceBytes = 64 * 1024; // what a socket hands over at a time

/// One kind of text: the messages of a stream, one or many.
struct Sample {
    std::string name;
    std::vector<QByteArray> messages;
    std::vector<QAny> values;
    std::vector<QJsonDocument> documents;
    qint64 bytes = 0;

    Sample(std::string sampleName, std::vector<QAny> messageValues)
        : name(std::move(sampleName)), values(std::move(messageValues))
    {
        for (const QAny &value : values) {
            messages.push_back(value.toJsonUtf8());
            documents.push_back(QJsonDocument::fromJson(messages.back()));
            bytes += messages.back().size();
        }
    }
};

QAny eventRows(int count)
{
    static const char *const codes[] = {"101:Prihod", "102:Odhod", "102:3:Službeno", "103:Malica", "105:Zasebno"};
    QAny rows(QAny::List);
    for (int i = 0; i < count; ++i) {
        QAny row(QAny::Hash);
        row.insert("ID", 100000 + i);
        row.insert("IDX", i);
        row.insert("USER", 1 + i * 7 % 350);
        row.insert("TIMESTAMP", 1700000000 + i * 37);
        row.insert("ACCESS_CODE", codes[i % 5]);
        row.insert("TYPE", i % 9 == 0 ? "MP" : "EV");
        row.insert("REMARK", i % 11 == 0 ? QAny("popravek vodje oddelka") : QAny(""));
        row.insert("TAG", 0);
        row.insert("PTIME", 1700000000 + i * 37);
        row.insert("PARAM", QAny());
        row.insert("TERMINAL", QString::number(1 + i % 12));
        row.insert("FACTOR", i % 4 * 0.25 + 0.5);
        rows.append(row);
    }
    return rows;
}

QAny packedTable(int count)
{
    static const char *const columns[] = {"USER",   "NAME", "DATE",   "IN",     "OUT",   "DELO",
                                          "DOPUST", "BOLN", "MALICA", "SKUPAJ", "SALDO", "OPOMBA"};
    QAny table(QAny::List);
    for (int i = 0; i < count; ++i) {
        QAny row(QAny::Hash);
        for (int column = 0; column < 12; ++column) {
            const QString clock = QString::asprintf("%02d:%02d", (7 + column + i % 3) % 24, i * 13 % 60);
            QAny cell = column == 0 ? QAny(i % 300) : column == 1 ? QAny("Žagar Črtomir") : QAny(clock);
            if ((i + column) % 6 == 0)
                cell = QAny{{"UWVS", cell}, {"COLOR", "#ffd0d0"}, {"TOOLTIP", "odhod pred koncem urnika"}};
            row.insert(columns[column], cell);
        }
        table.append(row);
    }
    return QAny{{"HEADER", QAny::list({QAny{{"KEY", "USER"}, {"TXT", "Šifra"}}})}, {"TABLE", table}};
}

std::vector<QAny> rpcMessages(int count)
{
    std::vector<QAny> messages;
    for (int i = 0; i < count; ++i) {
        const QString id = QString::number(i);
        if (i % 3 == 0)
            messages.push_back(QAny{{"knetrpc", "1.0"}, {"id", "<PING>"}});
        else if (i % 3 == 1)
            messages.push_back(QAny{{"knetrpc", "1.0"}, {"id", id}, {"result", QAny{{"ok", true}, {"rows", 3}}}});
        else
            messages.push_back(
                QAny{{"knetrpc", "1.0"},
                     {"id", id},
                     {"method", "logger.event"},
                     {"params", QAny{{"event", QAny{{"USER", i % 300}, {"TIMESTAMP", 1700000000 + i}, {"TYPE", "EV"}}},
                                     {"path", QAny::list({1, QAny::list({2, QAny::list({true, QAny(), 3.25})})})}}}});
    }
    return messages;
}

QAny slovenianLines(int count)
{
    QAny lines(QAny::List);
    for (int i = 0; i < count; ++i)
        lines.append(QStringLiteral("%1.\tDanes je \"žužek\" čez šolsko pot zašel v gozd;\r\n"
                                    "C:\\Podatki\\Ura\\%2 — odsotnost: bolniška, dopust, službena pot.")
                         .arg(i)
                         .arg(i % 17));
    return QAny{{"LINES", lines}};
}

const std::vector<Sample> &samples()
{
    static const std::vector<Sample> all = {{"rows", {eventRows(10000)}},
                                            {"table", {packedTable(5000)}},
                                            {"messages", rpcMessages(10000)},
                                            {"letters", {slovenianLines(10000)}}};
    return all;
}

void readOurs(const Sample &sample)
{
    Json::Parser parser;
    for (const QByteArray &message : sample.messages) {
        for (qsizetype at = 0; at < message.size(); at += kPieceBytes)
            parser.feed(message.constData() + at, qMin<qsizetype>(kPieceBytes, message.size() - at));
        parser.finish();
        benchmark::DoNotOptimize(parser.result());
    }
}

void readQt(const Sample &sample)
{
    for (const QByteArray &message : sample.messages)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(message).toVariant());
}

void readEventsOnly(const Sample &sample)
{
    for (const QByteArray &message : sample.messages) {
        rapidjson::Reader reader;
        rapidjson::MemoryStream bytes(message.constData(), static_cast<size_t>(message.size()));
        rapidjson::BaseReaderHandler<> nothing;
        benchmark::DoNotOptimize(reader.Parse(bytes, nothing).IsError());
    }
}

void writeOurs(const Sample &sample)
{
    for (const QAny &value : sample.values)
        benchmark::DoNotOptimize(value.toJsonUtf8());
}

void writeQt(const Sample &sample)
{
    for (const QJsonDocument &document : sample.documents)
        benchmark::DoNotOptimize(document.toJson(QJsonDocument::Compact));
}

using Side = void (*)(const Sample &);

std::vector<double> medians(const std::vector<Side> &sides, const Sample &sample)
{
    constexpr size_t rounds = 15;
    std::vector<std::function<void()>> runs;
    runs.reserve(sides.size());
    for (const Side side : sides)
        runs.emplace_back([side, &sample] { side(sample); });
    return alternatingMedians(runs, rounds);
}

/// Prints the comparison; false when a target is missed.
bool compare()
{
    bool met = true;
    std::printf("%-10s %8s | %9s %9s %7s %9s | %9s %9s %7s\n", "text", "KiB", "read MB/s", "Qt", "ratio", "RapidJSON",
                "write", "Qt", "ratio");
    for (const Sample &sample : samples()) {
        const std::vector<double> read = medians({readOurs, readQt, readEventsOnly}, sample);
        const std::vector<double> write = medians({writeOurs, writeQt}, sample);
        const auto rate = [&sample](double seconds) { return static_cast<double>(sample.bytes) / seconds / 1e6; };
        const double readRatio = read[1] / read[0];
        const double writeRatio = write[1] / write[0];
        std::printf("%-10s %8lld | %9.0f %9.0f %6.1fx %9.0f | %9.0f %9.0f %6.1fx\n", sample.name.c_str(),
                    static_cast<long long>(sample.bytes / 1024), rate(read[0]), rate(read[1]), readRatio, rate(read[2]),
                    rate(write[0]), rate(write[1]), writeRatio);
        const std::string reading = "JSON read: " + sample.name;
        const std::string writing = "JSON written: " + sample.name;
        met = atLeast(reading.c_str(), "ratio", readRatio, kTarget, "QJsonDocument, read into a QVariant") && met;
        met = atLeast(writing.c_str(), "ratio", writeRatio, kTarget, "QJsonDocument") && met;
    }
    return met;
}

void registerSide(const char *what, Side side, const Sample &sample)
{
    benchmark::RegisterBenchmark((std::string(what) + '/' + sample.name).c_str(),
                                 [side, &sample](benchmark::State &state) {
                                     for (auto _ : state)
                                         side(sample);
                                     state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * sample.bytes);
                                 });
}

} // namespace

int main(int argc, char **argv)
{
    const bool met = compare();
    for (const Sample &sample : samples()) {
        registerSide("read", readOurs, sample);
        registerSide("readQt", readQt, sample);
        registerSide("write", writeOurs, sample);
        registerSide("writeQt", writeQt, sample);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return met ? 0 : 1;
}
