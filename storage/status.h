#pragma once

namespace storage {

/// How an operation on the database went; true when it did all that was asked. A plain value.
class Status
{
public:
    enum Outcome {
        Done,
        /// Another attempt is worth while: file locked, disk full, input or output error, file not there or none of
        /// ours.
        Passing,
        /// It is not: no such table, a constraint, nothing to do.
        Lasting,
        /// Passing, but maybe for this operation alone: what it needs of the file is damaged. Others may be done. A
        /// transaction is lost with it, so that only who is tried in one of its own is known to be refused.
        Damaged
    };

    // Not explicit: an outcome is returned where a status is.
    constexpr Status(Outcome outcome = Done) : m_outcome(outcome) {}

    explicit constexpr operator bool() const { return m_outcome == Done; }
    constexpr Outcome outcome() const { return m_outcome; }
    /// Whether it failed and another attempt is worth while.
    constexpr bool mayPass() const { return m_outcome == Passing || m_outcome == Damaged; }
    constexpr bool isDamaged() const { return m_outcome == Damaged; }

private:
    Outcome m_outcome;
};

} // namespace storage
