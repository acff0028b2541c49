#pragma once

#include <QByteArray>

namespace server::host {

/// Figures in the text format of Prometheus, in the order in which they are added.
class MetricsText
{
public:
    enum Kind { Counter, Gauge };

    /// Begins a metric; its samples follow. The help is one line.
    MetricsText &metric(const char *name, Kind kind, const char *help);
    MetricsText &sample(double value);
    /// One of several, told apart by a label. The value of the label is escaped.
    MetricsText &sample(const char *label, const QByteArray &labelValue, double value);

    const QByteArray &text() const { return m_text; }

private:
    void add(const QByteArray &labels, double value);

    QByteArray m_name;
    QByteArray m_text;
};

} // namespace server::host
