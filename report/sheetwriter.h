#pragma once

#include "report/sheet.h"

#include <QIODevice>

#include <memory>

namespace report {

/// What a file says beside its sheets.
struct Imprint {
    Language language = Language::English;
    QString madeAt;       ///< "22. 11. 2026 14:05"
    char separator = ','; ///< of cells in CSV
};

/// Writes sheets, all of one layout, into one file. Of what cannot be written the device knows. On one thread.
class SheetWriter
{
public:
    SheetWriter() = default;
    virtual ~SheetWriter() = default;

    virtual void write(const Sheet &sheet) = 0;
    /// The file is complete; nothing may be written behind it.
    virtual void finish() = 0;

private:
    Q_DISABLE_COPY(SheetWriter)
};

enum class Format { Text, Csv, Pdf };

/// The device is open, not owned, and outlives the writer. PDF needs a QGuiApplication and
/// loadPaperFonts(), and may then be written on any thread.
std::unique_ptr<SheetWriter> sheetWriter(Format format, QIODevice &device, const Imprint &imprint);

std::unique_ptr<SheetWriter> textWriter(QIODevice &device, const Imprint &imprint);
std::unique_ptr<SheetWriter> csvWriter(QIODevice &device, const Imprint &imprint);
std::unique_ptr<SheetWriter> pdfWriter(QIODevice &device, const Imprint &imprint);

/// Loads the font of the papers from its file, once, on the main thread. The fault, empty when it is there.
QString loadPaperFonts();
/// Whether it was loaded. Any thread, once the loading has ended.
bool hasPaperFonts();

} // namespace report
