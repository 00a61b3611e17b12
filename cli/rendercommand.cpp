// tolvane-cli render DRAWING OUT.png [--width N]: reads an SXF (.p21, .sfc, zipped .p2z, .sfz) or
// DXF drawing and writes it fitted into a picture N pixels wide (default 1600; the height follows
// the drawing's proportions) on black, through the same model and renderer as the viewer. The
// features it cannot draw are listed on stderr.
#include "cli/commands.h"
#include "cli/consoleprompter.h"
#include "viewer/drawing/readers.h"
#include "viewer/drawing/render.h"

namespace tolvane::cli {

int runRender(const QStringList &args)
{
    QStringList rest = args;
    int width = 1600;
    const qsizetype option = rest.indexOf(QStringLiteral("--width"));
    if (option >= 0) {
        bool ok = false;
        width = option + 1 < rest.size() ? rest[option + 1].toInt(&ok) : 0;
        if (!ok || width < 16 || width > 20000) {
            writeErr(QStringLiteral("render: --width takes a number from 16 to 20000"));
            return 1;
        }
        rest.remove(option, 2);
    }
    if (rest.size() != 2) {
        writeErr(QStringLiteral("usage: tolvane-cli render DRAWING OUT.png [--width N]"));
        return 1;
    }
    Result<viewer::drawing::Drawing> drawing = viewer::drawing::readDrawingFile(rest[0]);
    if (!drawing) {
        writeErr(QStringLiteral("render: ") + rest[0] + QStringLiteral(": ") + drawing.status().toString());
        return 1;
    }
    const QRectF extent = drawing->extent();
    const double ratio = extent.width() > 0 && extent.height() > 0 ? extent.height() / extent.width() : 0.75;
    const QSize size(width, std::clamp(int(std::lround(width * ratio)), 16, 20000));
    const QImage image = viewer::drawing::renderDrawingFitted(*drawing, size, Qt::black);
    if (!image.save(rest[1], "PNG")) {
        writeErr(QStringLiteral("render: cannot write ") + rest[1]);
        return 1;
    }
    const QString skipped = viewer::drawing::skippedFeaturesText(*drawing);
    if (!skipped.isEmpty())
        writeErr(skipped);
    return 0;
}

} // namespace tolvane::cli
