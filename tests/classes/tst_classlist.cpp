// The class list on a real catalogue file: replacing it whole, what other readers see of it,
// failures at every point of the store, and the colour dialog's palette under simulated
// colour-vision deficiencies.
#include <array>
#include <cmath>

#include <QTemporaryDir>
#include <QTest>

#include "../browser/testfolders.h"
#include "classes/classlist.h"
#include "jet/failingfileaccess.h"
#include "platform/bgrcolor.h"
#include "support/oracles.h"

using namespace tolvane;
using classes::ClassRow;

namespace {

QList<ClassRow> readList(const QString &path)
{
    auto db = jet::Database::open(path);
    if (!db)
        return { { QStringLiteral("open failed: ") + db.status().toString(), {}, {} } };
    auto rows = classes::ReadClassList(**db);
    return rows ? rows.take() : QList<ClassRow> { { rows.status().toString(), {}, {} } };
}

// The rows as stored: positions 1..n in order.
QList<ClassRow> numbered(QList<ClassRow> rows)
{
    for (qsizetype i = 0; i < rows.size(); ++i)
        rows[i].position = QString::number(i + 1);
    return rows;
}

// ---- colour-vision simulation (Machado, Oliveira and Fernandes 2009, severity 1) in linear
// RGB, compared in CIELAB (D65).
using Vec = std::array<double, 3>;
using Mat = std::array<Vec, 3>;

const Mat kNormal = { { { 1, 0, 0 }, { 0, 1, 0 }, { 0, 0, 1 } } };
const Mat kProtan
    = { { { 0.152286, 1.052583, -0.204868 }, { 0.114503, 0.786281, 0.099216 }, { -0.003882, -0.048116, 1.051998 } } };
const Mat kDeutan
    = { { { 0.367322, 0.860646, -0.227968 }, { 0.280085, 0.672501, 0.047413 }, { -0.011820, 0.042940, 0.968881 } } };
const Mat kTritan
    = { { { 1.255528, -0.076749, -0.178779 }, { -0.078411, 0.930809, 0.147602 }, { 0.004733, 0.691367, 0.303900 } } };

double linear(int c)
{
    const double v = c / 255.0;
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

Vec lab(const QColor &c, const Mat &m)
{
    const Vec rgb = { linear(c.red()), linear(c.green()), linear(c.blue()) };
    Vec s {};
    for (int i = 0; i < 3; ++i)
        s[i] = std::clamp(m[i][0] * rgb[0] + m[i][1] * rgb[1] + m[i][2] * rgb[2], 0.0, 1.0);
    const double x = (0.4124 * s[0] + 0.3576 * s[1] + 0.1805 * s[2]) / 0.95047;
    const double y = 0.2126 * s[0] + 0.7152 * s[1] + 0.0722 * s[2];
    const double z = (0.0193 * s[0] + 0.1192 * s[1] + 0.9505 * s[2]) / 1.08883;
    auto f = [](double t) { return t > 0.008856 ? std::cbrt(t) : 7.787 * t + 16.0 / 116.0; };
    return { 116 * f(y) - 16, 500 * (f(x) - f(y)), 200 * (f(y) - f(z)) };
}

double closestPair(const QList<QColor> &colours, const Mat &m)
{
    double closest = 1e9;
    for (qsizetype i = 0; i < colours.size(); ++i)
        for (qsizetype j = i + 1; j < colours.size(); ++j) {
            const Vec a = lab(colours[i], m), b = lab(colours[j], m);
            closest = std::min(closest, std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]));
        }
    return closest;
}

} // namespace

class TestClassList : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    int m_serial = 0;

    QString makeCatalogue() { return test::newCatalogueFile(m_dir.path(), QStringLiteral("分類%1").arg(++m_serial)); }

    const QList<ClassRow> kSample = {
        { QStringLiteral("朝霧　凪"), QStringLiteral("&HFFFFC0"), QStringLiteral("1") },
        { QStringLiteral("水無瀬　灯"), QStringLiteral("&HC0FFFF"), QStringLiteral("2") },
        { QStringLiteral("霜月　柊"), QStringLiteral("&HFFC0C0"), QStringLiteral("3") },
    };
    // Apostrophes, U+3000, half-width kana, an empty name and an empty colour.
    const QList<ClassRow> kNew = {
        { QStringLiteral("O'Neil's 図面"), QStringLiteral("12648447"), QStringLiteral("7") },
        { QStringLiteral("見積　'控'"), QStringLiteral("&HFFC0C0"), {} },
        { QString(), QString(), {} },
        { QStringLiteral("ｶﾀﾛｸﾞ"), QStringLiteral("16777215"), QStringLiteral("1") },
        { QStringLiteral("契約書"), QStringLiteral("&HC0FFFF"), QStringLiteral("1") },
    };

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    // The list is replaced whole, numbered 1..n in the given order, and other readers see the
    // same rows in a sound file. An empty list leaves no row.
    void storeReplacesTheWholeList()
    {
        const QString path = makeCatalogue();
        QVERIFY(!path.isEmpty());
        QCOMPARE(readList(path), kSample);
        {
            auto db = jet::Database::open(path);
            QVERIFY(db);
            QVERIFY((*db)->isReadOnly() == false);
            const Status st = classes::StoreClassList(**db, kNew);
            QVERIFY2(st.isOk(), qPrintable(st.toString()));
        }
        QCOMPARE(readList(path), numbered(kNew));
        const test::OracleResult check = test::jetCheck(path);
        QVERIFY2(check.ok, qPrintable(check.output));
        if (test::mdbToolsAvailable()) {
            const QList<QStringList> exported = test::mdbExport(path, QStringLiteral("ClassN"));
            QCOMPARE(exported.size(), kNew.size());
            for (qsizetype i = 0; i < kNew.size(); ++i) {
                // mdbtools prints an empty text as a null.
                QCOMPARE(exported[i].value(0), kNew[i].name.isEmpty() ? QString() : kNew[i].name);
                QCOMPARE(exported[i].value(1), kNew[i].colour.isEmpty() ? QString() : kNew[i].colour);
                QCOMPARE(exported[i].value(2), QString::number(i + 1));
            }
        }

        auto db = jet::Database::open(path);
        QVERIFY(db);
        QVERIFY(classes::StoreClassList(**db, {}).isOk());
        QVERIFY(classes::ReadClassList(**db).value().isEmpty());
        db->reset();
        QVERIFY(test::jetCheck(path).ok);
    }

    // A value the table refuses, met after the old rows are already deleted and some new ones
    // written, leaves the old list; so does a write or sync failing at any point of the commit.
    void failedStoreLeavesTheOldList()
    {
        const QString path = makeCatalogue();
        QList<ClassRow> refused = kNew;
        refused[2].name = QString(61, QLatin1Char('x'));
        {
            auto db = jet::Database::open(path);
            const Status st = classes::StoreClassList(**db, refused);
            QCOMPARE(st.code(), Status::Code::InvalidArgument);
            QVERIFY(st.message().startsWith(QStringLiteral("row 3:")));
            QCOMPARE(classes::ReadClassList(**db).value(), kSample);
        }
        QByteArray before = test::bytesOf(path);

        using Fault = test::FailingFileAccess::Fault;
        for (Fault fault : { Fault::DiskFull, Fault::ShortWrite, Fault::FailedSync }) {
            int failures = 0;
            bool stored = false;
            for (int n = 1; n < 200 && !stored; ++n) {
                QCOMPARE(test::bytesOf(path), before);
                test::FailingFileAccess files;
                {
                    auto db = jet::Database::open(files, path);
                    QVERIFY(db);
                    files.arm(fault, n);
                    stored = classes::StoreClassList(**db, kNew).isOk();
                }
                files.disarm();
                // Reopened from the disk, a journal left behind is rolled back first.
                const QList<ClassRow> now = readList(path);
                QCOMPARE(now, stored ? numbered(kNew) : kSample);
                const test::OracleResult check = test::jetCheck(path);
                QVERIFY2(check.ok, qPrintable(check.output));
                failures += stored ? 0 : 1;
            }
            QVERIFY(stored);
            QVERIFY(failures > 0);
            // Back to the old list for the next kind of fault.
            auto db = jet::Database::open(path);
            QVERIFY(classes::StoreClassList(**db, kSample).isOk());
            db->reset();
            QCOMPARE(readList(path), kSample);
            QVERIFY(test::jetCheck(path).ok);
            before = test::bytesOf(path);
        }
    }

    // Eight hues and their tints, each set still apart from itself under protanopia,
    // deuteranopia and tritanopia; the tints light enough to read black text on.
    void paletteStaysApartUnderColourVisionDeficiencies()
    {
        const QList<QColor> palette = classes::colourBlindSafePalette();
        QCOMPARE(palette.size(), 16);
        QList<QColor> hues, tints;
        for (qsizetype i = 0; i < palette.size(); i += 2) {
            hues.append(palette[i]);
            tints.append(palette[i + 1]);
            QVERIFY(palette[i + 1].lightness() > palette[i].lightness());
            QVERIFY2(lab(palette[i + 1], kNormal)[0] >= 60, qPrintable(palette[i + 1].name()));
        }
        for (const Mat *m : { &kNormal, &kProtan, &kDeutan, &kTritan }) {
            QVERIFY2(closestPair(hues, *m) >= 15, qPrintable(QString::number(closestPair(hues, *m))));
            QVERIFY2(closestPair(tints, *m) >= 12, qPrintable(QString::number(closestPair(tints, *m))));
        }
    }
};

QTEST_GUILESS_MAIN(TestClassList)
#include "tst_classlist.moc"
