// Little-endian field access on page buffers and byte assembly, and the page-level constants of
// the Jet 4 format (docs/jet4-engine.md). Header-only; pure functions.
#pragma once

#include <cstring>
#include <utility>

#include <QByteArray>
#include <QByteArrayView>
#include <QtGlobal>

namespace tolvane::jet::internal {

constexpr int kPageSize = 4096;
constexpr quint8 kPageData = 0x01;
constexpr quint8 kPageTdef = 0x02;
constexpr quint8 kPageMap = 0x05;

// Data pages: 14-byte header, then the row offset table.
constexpr int kDataFreeSpace = 2;
constexpr int kDataTdefPage = 4;
constexpr int kDataRowCount = 12;
constexpr int kDataRowTable = 14;
constexpr int kMaxRowsPerPage = 255;
constexpr int kMaxRowSize = 4060;
constexpr quint16 kRowOffsetMask = 0x1FFF;
constexpr quint16 kRowDeleted = 0x8000; // deleted, or the target of an overflow pointer
constexpr quint16 kRowOverflow = 0x4000; // the row holds a pointer to its data

// Usage-map pages referenced from a reference map: 4-byte header, then a bitmap.
constexpr int kMapPageBits = (kPageSize - 4) * 8;

inline quint8 u8(const uchar *p)
{
    return p[0];
}
inline quint16 u16(const uchar *p)
{
    return quint16(p[0] | (p[1] << 8));
}
inline quint32 u24(const uchar *p)
{
    return quint32(p[0]) | (quint32(p[1]) << 8) | (quint32(p[2]) << 16);
}
inline quint32 u32(const uchar *p)
{
    return quint32(p[0]) | (quint32(p[1]) << 8) | (quint32(p[2]) << 16) | (quint32(p[3]) << 24);
}
inline quint64 u64(const uchar *p)
{
    return quint64(u32(p)) | (quint64(u32(p + 4)) << 32);
}
inline qint32 i32(const uchar *p)
{
    return qint32(u32(p));
}
inline qint16 i16(const uchar *p)
{
    return qint16(u16(p));
}
inline double f64(const uchar *p)
{
    double d;
    const quint64 v = u64(p);
    std::memcpy(&d, &v, sizeof d);
    return d;
}
inline float f32(const uchar *p)
{
    float f;
    const quint32 v = u32(p);
    std::memcpy(&f, &v, sizeof f);
    return f;
}

inline void put16(uchar *p, quint16 v)
{
    p[0] = uchar(v);
    p[1] = uchar(v >> 8);
}
inline void put24(uchar *p, quint32 v)
{
    p[0] = uchar(v);
    p[1] = uchar(v >> 8);
    p[2] = uchar(v >> 16);
}
inline void put32(uchar *p, quint32 v)
{
    put16(p, quint16(v));
    put16(p + 2, quint16(v >> 16));
}
inline void put64(uchar *p, quint64 v)
{
    put32(p, quint32(v));
    put32(p + 4, quint32(v >> 32));
}
inline void putF64(uchar *p, double d)
{
    quint64 v;
    std::memcpy(&v, &d, sizeof v);
    put64(p, v);
}
inline void putF32(uchar *p, float f)
{
    quint32 v;
    std::memcpy(&v, &f, sizeof v);
    put32(p, v);
}

// The bytes of a buffer from offset, for the put functions above.
inline uchar *bytesAt(QByteArray &buffer, qsizetype offset)
{
    return reinterpret_cast<uchar *>(buffer.data()) + offset;
}
inline const uchar *bytesAt(const QByteArray &buffer, qsizetype offset)
{
    return reinterpret_cast<const uchar *>(buffer.constData()) + offset;
}

// Little-endian assembly of a growing byte sequence (rows, table definitions, journal headers).
class ByteWriter {
public:
    void u8(quint32 v) { m_data.append(char(v & 0xFF)); }
    void u16(quint32 v)
    {
        u8(v);
        u8(v >> 8);
    }
    void u24(quint32 v)
    {
        u16(v);
        u8(v >> 16);
    }
    void u32(quint32 v)
    {
        u16(v);
        u16(v >> 16);
    }
    void u64(quint64 v)
    {
        u32(quint32(v));
        u32(quint32(v >> 32));
    }
    void zeros(qsizetype n) { m_data.append(n, '\0'); }
    void bytes(QByteArrayView b) { m_data.append(b); }
    int size() const { return int(m_data.size()); }
    QByteArray &data() { return m_data; }
    const QByteArray &data() const { return m_data; }

private:
    QByteArray m_data;
};

// The 128 header bytes from 0x18 are XORed with the RC4 keystream of this key.
inline QByteArray headerMask()
{
    const uchar key[4] = { 0xC7, 0xDA, 0x39, 0x6B };
    uchar s[256];
    for (int i = 0; i < 256; ++i)
        s[i] = uchar(i);
    for (int i = 0, j = 0; i < 256; ++i) {
        j = (j + s[i] + key[i % 4]) & 0xFF;
        std::swap(s[i], s[j]);
    }
    QByteArray out(128, '\0');
    for (int n = 0, i = 0, j = 0; n < 128; ++n) {
        i = (i + 1) & 0xFF;
        j = (j + s[i]) & 0xFF;
        std::swap(s[i], s[j]);
        out[n] = char(s[(s[i] + s[j]) & 0xFF]);
    }
    return out;
}

} // namespace tolvane::jet::internal
