#include "server/host/metricstext.h"

namespace server::host {

MetricsText &MetricsText::metric(const char *name, Kind kind, const char *help)
{
    m_name = name;
    m_text += "# HELP " + m_name + ' ' + help + "\n# TYPE " + m_name + (kind == Counter ? " counter\n" : " gauge\n");
    return *this;
}

MetricsText &MetricsText::sample(double value)
{
    add({}, value);
    return *this;
}

MetricsText &MetricsText::sample(const char *label, const QByteArray &labelValue, double value)
{
    QByteArray escaped = labelValue;
    escaped.replace('\\', "\\\\").replace('"', "\\\"").replace('\n', "\\n");
    add(QByteArray("{") + label + "=\"" + escaped + "\"}", value);
    return *this;
}

void MetricsText::add(const QByteArray &labels, double value)
{
    constexpr int kDigits = 15; // whole numbers as they are
    m_text += m_name + labels + ' ' + QByteArray::number(value, 'g', kDigits) + '\n';
}

} // namespace server::host
