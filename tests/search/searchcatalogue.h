// A real catalogue file for the search tests: created with the catalogue's nine tables and
// filled with folders, files, classifications and binder rows through the database layer.
#pragma once

#include <memory>

#include <QDateTime>
#include <QTest>

#include "catalog/schema.h"
#include "platform/jet/database.h"
#include "platform/jet/recordset.h"

namespace tolvane::test {

struct CatalogFile {
    QString cls; // null QString = null Class
    QString name;
    QDateTime date;
    QString keyword; // null QString = null kStr
    int pnID = 1;
    int hsID = 0;
    QString backC;
};

class SearchCatalogue {
public:
    // Creates path with the sample classifications and two folders, by default
    // 1 = "C:\docs", 2 = "C:\photos".
    bool create(const QString &path, const QString &folder1 = QStringLiteral("C:\\docs"),
        const QString &folder2 = QStringLiteral("C:\\photos"))
    {
        if (!jet::Database::create(path, catalog::catalogTables()).isOk())
            return false;
        auto opened = jet::Database::open(path);
        if (!opened)
            return false;
        m_db = opened.take();
        if (!m_db->insertRow(catalog::kIdNoTable, { 0, 0, 0, 0, 0, 0, 0 }).isOk()
            || !m_db->insertRow(catalog::kDbidTable, { catalog::kOrdinaryCatalogMark }).isOk())
            return false;
        addClass(QStringLiteral(u"朝霧\u3000凪"), QStringLiteral("&HFFFFC0"), 1);
        addClass(QStringLiteral(u"水無瀬\u3000灯"), QStringLiteral("&HC0FFFF"), 2);
        addClass(QStringLiteral(u"霜月\u3000柊"), QStringLiteral("&HFFC0C0"), 3);
        addFolder(1, folder1);
        addFolder(2, folder2);
        return true;
    }

    jet::Database &db() { return *m_db; }
    std::unique_ptr<jet::Database> release() { return std::move(m_db); }

    static QVariant text(const QString &s) { return s.isNull() ? QVariant() : QVariant(s); }

    void addClass(const QString &name, const QString &color, int order)
    {
        QVERIFY(m_db->insertRow(catalog::kClassNTable, { name, color, order }).isOk());
    }
    void addFolder(int pnID, const QString &path)
    {
        QVERIFY(m_db->insertRow(catalog::kPathNameTable, { pnID, path }).isOk());
    }
    void addFile(const CatalogFile &f)
    {
        const auto id = m_db->insertRow(
            catalog::kFileAtrTable, { text(f.cls), f.name, f.date, text(f.keyword), f.pnID, f.hsID, text(f.backC) });
        QVERIFY2(id.isOk(), qPrintable(id.status().toString()));
    }
    void addBinderRow(int bdID, const QString &name, int pnID, int docNo)
    {
        QVERIFY(m_db->insertRow(catalog::kBinderTable, { bdID, name, pnID, docNo }).isOk());
    }

    // The standard sample: eight files in two folders, with quotes, brackets, underscores,
    // an empty and a null keyword, and one file with a time of day.
    void addSampleFiles()
    {
        const QString asagiri = QStringLiteral(u"朝霧\u3000凪");
        const QString minase = QStringLiteral(u"水無瀬\u3000灯");
        const QString shimotsuki = QStringLiteral(u"霜月\u3000柊");
        auto day = [](int y, int m, int d) { return QDateTime(QDate(y, m, d), QTime(0, 0)); };
        addFile({ asagiri, QStringLiteral("report.doc"), day(2009, 12, 30), QStringLiteral("abc"), 1, 1,
            QStringLiteral("&HFFFFC0") });
        addFile({ minase, QStringLiteral("plan_a.pdf"), day(2009, 12, 31), QStringLiteral("ab"), 1, 0,
            QStringLiteral("&HC0FFFF") });
        addFile({ asagiri, QStringLiteral("planXa.pdf"), day(2010, 1, 1), QStringLiteral("ABX"), 1, 0,
            QStringLiteral("&HFFFFC0") });
        addFile({ shimotsuki, QStringLiteral("O'Brien.txt"), QDateTime(QDate(2009, 12, 31), QTime(15, 30)),
            QStringLiteral("O'Brien"), 2, 0, QStringLiteral("&HFFC0C0") });
        addFile({ QStringLiteral(""), QStringLiteral("[draft].txt"), day(2010, 1, 2), QStringLiteral("[draft] notes"),
            2, 0, QStringLiteral("") });
        addFile({ shimotsuki, QStringLiteral("a_c.txt"), day(2009, 6, 15), QStringLiteral("a_c"), 2, 0,
            QStringLiteral("&HFFC0C0") });
        addFile({ minase, QStringLiteral("memo.txt"), day(2009, 12, 29), QStringLiteral(""), 2, 0,
            QStringLiteral("&HC0FFFF") });
        addFile({ QString(), QStringLiteral("scan.tif"), day(2010, 2, 1), QString(), 1, 0, QString() });
    }

private:
    std::unique_ptr<jet::Database> m_db;
};

// The file names of the visible rows of a result, in order (the cursor ends at EOF).
inline QStringList fileNames(jet::Recordset &rs, int nameField = 1)
{
    QStringList names;
    for (rs.moveFirst(); !rs.eof(); rs.moveNext())
        names.append(rs.field(nameField).toString());
    return names;
}

} // namespace tolvane::test
