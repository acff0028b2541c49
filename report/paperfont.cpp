#include "report/paperfont.h"

#include "report/sheetwriter.h"

#include <QFileInfo>
#include <QFontDatabase>

namespace report {

namespace {

struct FontFiles {
    const char *regular;
    const char *bold;
};

// The first that is there. By their files: the offscreen platform knows no others.
constexpr FontFiles kFiles[] = {
    {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf"},
    {"C:/Windows/Fonts/arial.ttf", "C:/Windows/Fonts/arialbd.ttf"},
};

QString &loadedFamily()
{
    static QString family;
    return family;
}

QString familyOf(const char *file)
{
    const int id = QFontDatabase::addApplicationFont(QString::fromLatin1(file));
    return id < 0 ? QString() : QFontDatabase::applicationFontFamilies(id).value(0);
}

} // namespace

bool hasPaperFonts()
{
    return !loadedFamily().isEmpty();
}

QString loadPaperFonts()
{
    if (hasPaperFonts())
        return {};
    for (const FontFiles &files : kFiles) {
        if (!QFileInfo::exists(QString::fromLatin1(files.regular)))
            continue;
        const QString family = familyOf(files.regular);
        if (family.isEmpty() || familyOf(files.bold).isEmpty())
            return QStringLiteral("the font %1 cannot be loaded").arg(QString::fromLatin1(files.regular));
        loadedFamily() = family;
        return {};
    }
    return QStringLiteral("the font %1 is missing (package fonts-dejavu-core)")
        .arg(QString::fromLatin1(kFiles[0].regular));
}

PaperText::PaperText(const QString &text, const QFont &font, QPaintDevice &device, double width,
                     Qt::Alignment alignment)
    : m_layout(text, font, &device)
{
    QTextOption option(alignment);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_layout.setTextOption(option);
    m_layout.beginLayout();
    for (QTextLine line = m_layout.createLine(); line.isValid(); line = m_layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, m_height});
        m_height += line.height();
    }
    m_layout.endLayout();
}

void PaperText::draw(QPainter &painter, QPointF at, double most) const
{
    for (int i = 0; i < m_layout.lineCount(); ++i) {
        const QTextLine line = m_layout.lineAt(i);
        if (line.y() + line.height() <= most + 1)
            line.draw(&painter, at);
    }
}

QFont paperFont(double points, bool isBold)
{
    QFont font(loadedFamily());
    font.setPixelSize(qRound(points * kUnitsPerInch / 72));
    font.setBold(isBold);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

} // namespace report
