#include "shell/ui/toolbaricons.h"

#include <algorithm>

#include <QFont>
#include <QPainter>
#include <QPainterPath>
#include <QPen>
#include <QPixmap>

namespace tolvane::shell {

namespace {

struct IconRecipe {
    const char *key;
    const char *themeName; // freedesktop icon name, or nullptr
    QRgb colour;
    const char *glyph; // UTF-8 text drawn on the tile
};

// Tiles in a few calm colours with a short glyph; the theme icon wins where the desktop has one.
const IconRecipe kRecipes[] = {
    { "each", "document-open", 0xff3d7ab8, "\xE6\x96\x87" }, // 文
    { "DBOpen", "document-open-data", 0xff2e8b57, "DB" },
    { "arrow", "go-previous", 0xff6a6a6a, "\xE2\x86\x90" }, // ←
    { "addFolder", "folder-open", 0xffc68a12, "folder" }, // drawn: folder
    { "binoc", "edit-find", 0xff5b5ea6, "" }, // drawn: magnifier
    { "tree", "view-list-tree", 0xff4f8a3c, "\xE2\x89\xA1" }, // ≡
    { "pic", "x-office-calendar", 0xffa0522d, "\xE6\x97\xA5" }, // 日
    { "pic2", "list-add", 0xffa0522d, "+" },
    { "Key", "dialog-password", 0xffb8860b, "\xE9\x8D\xB5" }, // 鍵
    { "Binder", "folder-documents", 0xff8b3a62, "\xE7\xB6\xB4" }, // 綴
    { "spel", "edit-find-replace", 0xff2f6f8f, "\xE5\x85\xA8" }, // 全
    { "up", "go-up", 0xff6a6a6a, "\xE2\x96\xB2" }, // ▲
    { "down", "go-down", 0xff6a6a6a, "\xE2\x96\xBC" }, // ▼
    { "del", "edit-delete", 0xffb22222, "\xE2\x9C\x95" }, // ✕
    { "record", "document-save", 0xff2e8b57, "\xE7\x99\xBB" }, // 登
    { "arw6lt", "go-previous", 0xff3d7ab8, "\xE2\x97\x80" }, // ◀
    { "arw6rt", "go-next", 0xff3d7ab8, "\xE2\x96\xB6" }, // ▶
    { "magni", "zoom-in", 0xff5b5ea6, "+" }, // drawn: magnifier with plus
    { "plus", "zoom-original", 0xff5b5ea6, "1:1" },
    { "minus", "zoom-out", 0xff5b5ea6, "\xE2\x88\x92" }, // −
    { "left", "object-rotate-left", 0xff4682b4, "\xE2\x86\xBA" }, // ↺
    { "right", "object-rotate-right", 0xff4682b4, "\xE2\x86\xBB" }, // ↻
    { "ptl", "go-first", 0xff708090, "\xE2\x87\x90" }, // ⇐
    { "ptr", "go-last", 0xff708090, "\xE2\x87\x92" }, // ⇒
    { "apri", "system-run", 0xff2f4f4f, "\xE2\x96\xA3" }, // ▣
    { "moon", "weather-clear-night", 0xff191970, "\xE2\x98\xBE" }, // ☾
    { "excel", "x-office-spreadsheet", 0xff217346, "X" },
};

QPixmap drawTile(QRgb colour, const QString &glyph, int size)
{
    QPixmap pm(size, size);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath tile;
    tile.addRoundedRect(QRectF(1, 1, size - 2, size - 2), size / 6.0, size / 6.0);
    p.fillPath(tile, QColor::fromRgb(colour));
    if (glyph == QStringLiteral("folder")) {
        // A folder: a tab over a body.
        p.setPen(Qt::NoPen);
        p.setBrush(Qt::white);
        p.drawRoundedRect(QRectF(size * 0.18, size * 0.26, size * 0.3, size * 0.14), size / 24.0, size / 24.0);
        p.drawRoundedRect(QRectF(size * 0.18, size * 0.34, size * 0.64, size * 0.42), size / 16.0, size / 16.0);
        return pm;
    }
    if (glyph.isEmpty() || glyph == QStringLiteral("+")) {
        // A magnifying glass: a ring and a handle, with a plus for "magnify".
        const qreal r = size * 0.22;
        const QPointF c(size * 0.42, size * 0.42);
        p.setPen(QPen(Qt::white, std::max(1.5, size / 12.0)));
        p.setBrush(Qt::NoBrush);
        p.drawEllipse(c, r, r);
        p.setPen(QPen(Qt::white, std::max(2.0, size / 8.0), Qt::SolidLine, Qt::RoundCap));
        p.drawLine(c + QPointF(r * 0.75, r * 0.75), QPointF(size * 0.8, size * 0.8));
        if (!glyph.isEmpty()) {
            p.setPen(QPen(Qt::white, std::max(1.0, size / 16.0)));
            p.drawLine(c - QPointF(r * 0.55, 0), c + QPointF(r * 0.55, 0));
            p.drawLine(c - QPointF(0, r * 0.55), c + QPointF(0, r * 0.55));
        }
        return pm;
    }
    QFont f = p.font();
    f.setBold(true);
    f.setPixelSize(glyph.size() > 1 ? size * 2 / 5 : size * 3 / 5);
    p.setFont(f);
    p.setPen(Qt::white);
    p.drawText(QRect(0, 0, size, size), Qt::AlignCenter, glyph);
    return pm;
}

} // namespace

QIcon toolbarIcon(const QString &imageKey)
{
    for (const IconRecipe &r : kRecipes) {
        if (imageKey != QLatin1String(r.key))
            continue;
        QIcon drawn;
        for (int size : { 16, 24, 32, 48 })
            drawn.addPixmap(drawTile(r.colour, QString::fromUtf8(r.glyph), size));
        if (r.themeName && QIcon::hasThemeIcon(QString::fromLatin1(r.themeName)))
            return QIcon::fromTheme(QString::fromLatin1(r.themeName), drawn);
        return drawn;
    }
    return {};
}

} // namespace tolvane::shell
