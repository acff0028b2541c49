#include "calc/output/colours.h"

#include <QColor>

#include <array>

namespace calc::output {

const QString &Colour::text(Name name)
{
    static const std::array<QString, Count> texts = [] {
        // In the order of the enumeration.
        constexpr const char *values[Count] = {
            "#EA6E79", "#33990D", "#1DFA12", "#FA3C12", "#c0c0c0", "#00ffff", "#615952", "#111010", "#ABDCF8",
            "#ABBBF8", "#F8D7AB", "#F1D528", "#28F1BD", "#ACF3E1", "#00FF00", "#17C0EE", "#EE3117", "#006000",
            "#008000", "#00B000", "#5AB9D3", "#000000", "#5A9CD3", "#000000", "#ABE7F8", "#000000", "#FDAE7A",
            "#000000", "#FA2712", "#FAD012", "#FA8012", "#55FF00", "#FA9112", "#FA9112"};
        std::array<QString, Count> result;
        for (size_t i = 0; i < result.size(); ++i)
            result[i] = QColor(QLatin1String(values[i])).name();
        return result;
    }();
    return texts[name];
}

} // namespace calc::output
