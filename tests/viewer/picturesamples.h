// Picture files the viewer tests write byte by byte, where Qt's writers cannot.
#pragma once

#include <array>

#include <QByteArray>
#include <QList>

namespace tolvane::test {

// An uncompressed 8-bit grey TIFF with one page per grey level (Qt writes single pages only).
inline QByteArray multiPageTiff(const QList<int> &greys, int width, int height)
{
    QByteArray out("II*\0", 4);
    const auto u16 = [&](int v) { out.append(char(v & 0xFF)).append(char((v >> 8) & 0xFF)); };
    const auto u32 = [&](qint64 v) {
        for (int i = 0; i < 4; ++i)
            out.append(char((v >> (8 * i)) & 0xFF));
    };
    u32(0); // first IFD offset, patched below
    qsizetype patch = 4;
    for (const int grey : greys) {
        const qint64 data = out.size();
        out.append(QByteArray(width * height, char(grey)));
        if (out.size() % 2)
            out.append('\0');
        const qint64 ifd = out.size();
        for (int i = 0; i < 4; ++i)
            out[patch + i] = char((ifd >> (8 * i)) & 0xFF);
        const QList<std::array<qint64, 3>> entries { { 256, 4, width }, { 257, 4, height }, { 258, 3, 8 },
            { 259, 3, 1 }, { 262, 3, 1 }, { 273, 4, data }, { 277, 3, 1 }, { 278, 4, height },
            { 279, 4, width * height } };
        u16(int(entries.size()));
        for (const auto &e : entries) {
            u16(int(e[0]));
            u16(int(e[1]));
            u32(1);
            if (e[1] == 3) {
                u16(int(e[2]));
                u16(0);
            } else {
                u32(e[2]);
            }
        }
        patch = out.size();
        u32(0); // next IFD
    }
    return out;
}

} // namespace tolvane::test
