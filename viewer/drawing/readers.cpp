#include "viewer/drawing/readers.h"

#include <memory>
#include <zip.h>

#include <QFile>
#include <QFileInfo>

namespace tolvane::viewer::drawing {

namespace {

// A zip archive (.p2z, .sfz) holds one drawing: the .p21/.sfc entry, else the only entry.
Result<QByteArray> unzipDrawing(const QByteArray &data)
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t *source = zip_source_buffer_create(data.constData(), zip_uint64_t(data.size()), 0, &error);
    if (!source) {
        zip_error_fini(&error);
        return Status::corruption(QStringLiteral("unreadable zip archive"));
    }
    zip_t *archive = zip_open_from_source(source, ZIP_RDONLY, &error);
    if (!archive) {
        zip_source_free(source);
        zip_error_fini(&error);
        return Status::corruption(QStringLiteral("damaged zip archive"));
    }
    zip_error_fini(&error);
    const std::unique_ptr<zip_t, void (*)(zip_t *)> closer(archive, [](zip_t *z) { zip_discard(z); });

    const zip_int64_t count = zip_get_num_entries(archive, 0);
    zip_int64_t chosen = -1;
    for (zip_int64_t i = 0; i < count; ++i) {
        const QString name = QString::fromUtf8(zip_get_name(archive, zip_uint64_t(i), 0)).toLower();
        if (name.endsWith(u".p21") || name.endsWith(u".sfc")) {
            chosen = i;
            break;
        }
    }
    if (chosen < 0 && count == 1)
        chosen = 0;
    if (chosen < 0)
        return Status::corruption(QStringLiteral("no drawing in the zip archive"));
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(archive, zip_uint64_t(chosen), 0, &stat) != 0 || !(stat.valid & ZIP_STAT_SIZE)
        || stat.size > zip_uint64_t(kMaxFileBytes))
        return Status::corruption(QStringLiteral("drawing entry too large or unreadable"));
    zip_file_t *file = zip_fopen_index(archive, zip_uint64_t(chosen), 0);
    if (!file)
        return Status::corruption(QStringLiteral("cannot open the drawing entry"));
    QByteArray out(qsizetype(stat.size), Qt::Uninitialized);
    const zip_int64_t got = zip_fread(file, out.data(), stat.size);
    zip_fclose(file);
    if (got < 0 || zip_uint64_t(got) != stat.size)
        return Status::corruption(QStringLiteral("damaged drawing entry"));
    return out;
}

} // namespace

DrawingFormat detectDrawingFormat(const QByteArray &data)
{
    if (data.startsWith("PK\x03\x04"))
        return DrawingFormat::Zip;
    if (data.startsWith("AutoCAD Binary DXF"))
        return DrawingFormat::BinaryDxf;
    const QByteArray head = data.left(4096);
    if (head.trimmed().startsWith("ISO-10303-21"))
        return data.contains("/*SXF") ? DrawingFormat::Sfc : DrawingFormat::P21;
    // ASCII DXF: group code 0 then SECTION (possibly after 999 comments).
    const QByteArray simplified = head.simplified();
    if (simplified.startsWith("0 SECTION") || simplified.startsWith("999 "))
        return DrawingFormat::Dxf;
    return DrawingFormat::Unknown;
}

Result<Drawing> readDrawingData(const QByteArray &data)
{
    switch (detectDrawingFormat(data)) {
    case DrawingFormat::Zip: {
        Result<QByteArray> inner = unzipDrawing(data);
        if (!inner)
            return inner.status();
        if (detectDrawingFormat(*inner) == DrawingFormat::Zip)
            return Status::corruption(QStringLiteral("zip archive inside a zip archive"));
        return readDrawingData(*inner);
    }
    case DrawingFormat::Sfc:
        return readSfc(data);
    case DrawingFormat::P21:
        return readP21(data);
    case DrawingFormat::Dxf:
        return readDxf(data);
    case DrawingFormat::BinaryDxf:
        return Status::notSupported(QStringLiteral("binary DXF"));
    case DrawingFormat::Unknown:
        break;
    }
    return Status::notSupported(QStringLiteral("not a drawing file"));
}

Result<Drawing> readDrawingFile(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        return Status::notFound(path);
    if (!file.open(QIODevice::ReadOnly))
        return Status::ioError(file.errorString());
    if (file.size() > kMaxFileBytes)
        return Status::notSupported(QStringLiteral("file too large"));
    const QByteArray data = file.readAll();
    if (data.size() != file.size())
        return Status::ioError(file.errorString());
    return readDrawingData(data);
}

QString skippedFeaturesText(const Drawing &drawing)
{
    if (drawing.skipped.isEmpty())
        return {};
    QStringList parts;
    for (auto it = drawing.skipped.cbegin(); it != drawing.skipped.cend(); ++it)
        parts << it.key() + QStringLiteral(" ×") + QString::number(it.value());
    return QStringLiteral("表示できない要素: ") + parts.join(QStringLiteral("、"));
}

} // namespace tolvane::viewer::drawing
