// Drawings read from real files written the way CAD programs write them: the SFC and P21 forms of
// one sheet give the same model (zipped too), Japanese text decoded from both and from DXF,
// compound figures placed, the P21 anchor shift undone, a binary DXF refused; rendered pixels on
// both backgrounds; and damaged or hostile files read to an end without a crash.
#include <zip.h>

#include <QGuiApplication>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QtMath>

#include "drawingsamples.h"
#include "viewer/drawing/readers.h"
#include "viewer/drawing/render.h"

using namespace tolvane;
using namespace tolvane::viewer::drawing;
namespace samples = tolvane::test::drawings;

namespace {

bool near(double a, double b)
{
    return std::abs(a - b) < 1e-6;
}
bool near(QPointF a, QPointF b)
{
    return near(a.x(), b.x()) && near(a.y(), b.y());
}

// Why two elements differ, or empty.
QString difference(const Element &a, const Element &b)
{
    if (a.type != b.type || a.layer != b.layer)
        return QStringLiteral("type or layer");
    if (a.style.colour != b.style.colour || !near(a.style.widthMm, b.style.widthMm) || a.style.dashMm != b.style.dashMm)
        return QStringLiteral("style");
    const Curve &c = a.curve, &d = b.curve;
    if (c.kind != d.kind || c.points.size() != d.points.size() || !near(c.centre, d.centre) || !near(c.rx, d.rx)
        || !near(c.ry, d.ry) || !near(c.rotationDeg, d.rotationDeg) || !near(c.startDeg, d.startDeg)
        || !near(c.sweepDeg, d.sweepDeg))
        return QStringLiteral("curve");
    for (qsizetype i = 0; i < c.points.size(); ++i)
        if (!near(c.points[i], d.points[i]))
            return QStringLiteral("point %1").arg(i);
    const TextBox &s = a.text, &t = b.text;
    if (s.text != t.text || s.font != t.font || !near(s.position, t.position) || s.anchor != t.anchor
        || !near(s.heightMm, t.heightMm) || !near(s.widthMm, t.widthMm) || !near(s.angleDeg, t.angleDeg)
        || !near(s.slantDeg, t.slantDeg) || s.vertical != t.vertical)
        return QStringLiteral("text");
    for (const QPointF p : { QPointF(0, 0), QPointF(10, 0), QPointF(0, 10) })
        if (!near(a.placement.map(p), b.placement.map(p)))
            return QStringLiteral("placement");
    return {};
}

void compareDrawings(const Drawing &a, const Drawing &b)
{
    QCOMPARE(a.name, b.name);
    QCOMPARE(a.sheet, b.sheet);
    QCOMPARE(a.layers, b.layers);
    QCOMPARE(a.elements.size(), b.elements.size());
    for (qsizetype i = 0; i < a.elements.size(); ++i)
        QVERIFY2(difference(a.elements[i], b.elements[i]).isEmpty(),
            qPrintable(QStringLiteral("element %1: %2").arg(i).arg(difference(a.elements[i], b.elements[i]))));
}

QByteArray zipped(const QString &entry, const QByteArray &data)
{
    QTemporaryDir dir;
    const QByteArray path = dir.filePath(QStringLiteral("a.zip")).toLocal8Bit();
    int error = 0;
    zip_t *z = zip_open(path.constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    zip_source_t *src = zip_source_buffer(z, data.constData(), zip_uint64_t(data.size()), 0);
    zip_file_add(z, entry.toUtf8().constData(), src, ZIP_FL_OVERWRITE);
    zip_close(z);
    QFile f(dir.filePath(QStringLiteral("a.zip")));
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

Drawing read(const QByteArray &data)
{
    Result<Drawing> r = readDrawingData(data);
    if (!r) {
        qWarning("%s", qPrintable(r.status().toString()));
        return {};
    }
    return r.take();
}

// A figure "F" (one line from (0,0) to (10,0)) placed by the sheet as given.
QByteArray sfcWithFigure(int kind, const QString &locate)
{
    return samples::sfc({ QStringLiteral("#10 = layer_feature(\\'A\\','1')"),
        QStringLiteral("#20 = line_feature('1','2','1','1','0.0','0.0','10.0','0.0')"),
        QStringLiteral("#30 = sfig_org_feature(\\'F\\','%1')").arg(kind), locate,
        QStringLiteral("#50 = drawing_sheet_feature(\\'S\\','9','1','200','100')") });
}

QColor pixel(const QImage &image, QPointF model, const QTransform &view)
{
    return image.pixelColor(view.map(model).toPoint());
}

} // namespace

class TestDrawing : public QObject {
    Q_OBJECT

private slots:
    void sfcAndP21GiveTheSameDrawing()
    {
        const Drawing fromSfc = read(samples::sampleSfc());
        const Drawing fromP21 = read(samples::sampleP21());
        compareDrawings(fromSfc, fromP21);

        QCOMPARE(fromSfc.name, QStringLiteral("平面図"));
        QCOMPARE(fromSfc.sheet, QRectF(0, 0, 420, 297));
        QCOMPARE(fromSfc.layers.size(), 3);
        QCOMPARE(fromSfc.layers[0].name, QStringLiteral("図枠"));
        QVERIFY(fromSfc.layers[1].visible && !fromSfc.layers[2].visible);
        QVERIFY(fromSfc.skipped.isEmpty());
        QCOMPARE(fromSfc.elements.size(), 6);
        const Element &frame = fromSfc.elements[0];
        QCOMPARE(frame.style.colour, QColor(Qt::white));
        QCOMPARE(frame.style.widthMm, 0.7);
        QCOMPARE(fromSfc.elements[1].style.dashMm, QList<double>({ 6, 1.5 }));
        QCOMPARE(fromSfc.elements[2].style.colour, QColor(0, 160, 160));
        QCOMPARE(fromSfc.elements[3].curve.sweepDeg, 90.0);
        const TextBox &text = fromP21.elements[4].text;
        QCOMPARE(text.text, samples::sampleText());
        QCOMPARE(text.font, QStringLiteral("ＭＳ ゴシック"));
        QCOMPARE(text.anchor, 5);
        QVERIFY(near(text.position, QPointF(210, 270))); // the writer's shift undone
        QCOMPARE(fromSfc.elements[5].layer, 2);

        // Zipped (.sfz, .p2z) they read the same; the extension of the entry is what counts.
        compareDrawings(read(zipped(QStringLiteral("sample.SFC"), samples::sampleSfc())), fromSfc);
        compareDrawings(read(zipped(QStringLiteral("sample.p21"), samples::sampleP21())), fromSfc);
        // LF line ends read as CRLF ones.
        compareDrawings(read(samples::sampleSfc().replace("\r\n", "\n")), fromSfc);
    }

    void p21InstancesInAnyOrder()
    {
        // Forward references everywhere, a clockwise arc, '' and \ inside a string.
        QStringList instances = samples::sampleP21Instances();
        std::reverse(instances.begin(), instances.end());
        const QString quoted = samples::stepString(QStringLiteral("It's 表\\ソ"));
        for (QString &line : instances) {
            line.replace(QStringLiteral(".T.,.PARAMETER."), QStringLiteral(".F.,.PARAMETER."));
            if (line.startsWith(u"#460="))
                line.replace(samples::stepString(samples::sampleText()), quoted);
        }
        const Drawing d = read(samples::p21(instances));
        QCOMPARE(d.elements.size(), 6);
        const Curve &arc = d.elements[3].curve;
        QCOMPARE(arc.startDeg, 0.0);
        QVERIFY(near(arc.sweepDeg, -270)); // from 0° clockwise to 90°
        QCOMPARE(d.elements[4].text.text, QStringLiteral("It's 表\\ソ"));

        // Sparse ids (far apart, not from 1) and entity names in lower case read the same.
        QStringList sparse = instances;
        for (QString &line : sparse) {
            line.replace(u'#', QStringLiteral("#7000000"));
            line.replace(QStringLiteral("DRAWING_SHEET_REVISION("), QStringLiteral("drawing_sheet_revision("));
        }
        compareDrawings(read(samples::p21(sparse)), d);

        // Without a sheet there is nothing to draw: a damaged file, not an empty drawing.
        instances.removeIf([](const QString &l) { return l.contains(u"DRAWING_SHEET_REVISION("); });
        const Result<Drawing> none = readDrawingData(samples::p21(instances));
        QCOMPARE(none.status().code(), Status::Code::Corruption);
    }

    void textAnchorsFromBothForms_data()
    {
        QTest::addColumn<int>("anchor");
        QTest::addColumn<QString>("name");
        QTest::addColumn<double>("shift"); // the writer's move along the text's up direction, in heights
        QTest::newRow("bottom left") << 1 << QStringLiteral("baseline left") << 0.5;
        QTest::newRow("middle centre") << 5 << QStringLiteral("middleline centre") << -0.5;
        QTest::newRow("top right") << 9 << QStringLiteral("topline right") << -1.0;
    }
    void textAnchorsFromBothForms()
    {
        QFETCH(int, anchor);
        QFETCH(QString, name);
        QFETCH(double, shift);
        const double h = 5, angle = 30, a = qDegreesToRadians(angle);
        const QPointF p(100, 60), up(-std::sin(a), std::cos(a));
        const QPointF written = p + up * (shift * h);
        const Drawing fromSfc = read(samples::sfc({ QStringLiteral("#10 = text_font_feature(\\'ＭＳ 明朝\\')"),
            QStringLiteral("#20 = text_string_feature('0','3','1',\\'表ソ\\','100.0','60.0','5.0','20.0','0.0','30.0','"
                           "0.0','%1','1')")
                .arg(anchor),
            QStringLiteral("#30 = drawing_sheet_feature(\\'S\\','9','1','200','100')") }));
        const Drawing fromP21 = read(samples::p21({ QStringLiteral("#10=DRAUGHTING_PRE_DEFINED_COLOUR('green');"),
            QStringLiteral("#20=EXTERNALLY_DEFINED_TEXT_FONT(IDENTIFIER('%1'),$);")
                .arg(samples::stepString(QStringLiteral("ＭＳ 明朝"))),
            QStringLiteral("#30=CARTESIAN_POINT(' ',(%1,%2));").arg(written.x(), 0, 'f', 9).arg(written.y(), 0, 'f', 9),
            QStringLiteral("#40=DIRECTION(' ',(%1,%2));").arg(std::cos(a), 0, 'f', 12).arg(std::sin(a), 0, 'f', 12),
            QStringLiteral("#50=AXIS2_PLACEMENT_2D(' ',#30,#40);"), QStringLiteral("#60=PLANAR_EXTENT(' ',20.0,5.0);"),
            QStringLiteral("#70=TEXT_LITERAL_WITH_EXTENT('$$SXF_%1','%2',#50,'baseline left',.RIGHT.,#20,#60);")
                .arg(name, samples::stepString(QStringLiteral("表ソ"))),
            QStringLiteral("#80=TEXT_STYLE_FOR_DEFINED_FONT(#10);"),
            QStringLiteral(
                "#90=(TEXT_STYLE(' ',#80)TEXT_STYLE_WITH_BOX_CHARACTERISTICS((BOX_HEIGHT(5.0),BOX_WIDTH(4.0),"
                "BOX_SLANT_ANGLE(0.0),BOX_ROTATE_ANGLE(0.0)))TEXT_STYLE_WITH_SPACING(LENGTH_MEASURE(0.0)));"),
            QStringLiteral("#100=PRESENTATION_STYLE_ASSIGNMENT((#90));"), samples::styled(110, 100, 70, true),
            QStringLiteral("#120=DRAWING_SHEET_REVISION('FREE',(#110,#130),$,'01');"),
            QStringLiteral("#140=DRAUGHTING_TITLE($,'JAPANESE','S');"),
            QStringLiteral("#130=PLANAR_BOX(' ',200.0,100.0,$);") }));
        compareDrawings(fromSfc, fromP21);
        QVERIFY(near(fromP21.elements[0].text.position, p));
        QCOMPARE(fromP21.elements[0].text.anchor, anchor);
        QCOMPARE(fromP21.elements[0].style.colour, QColor(Qt::green));
    }

    void compoundFigures_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("locate");
        QTest::addColumn<QPointF>("start");
        QTest::addColumn<QPointF>("end");
        QTest::newRow("turned and scaled")
            << 1 << QStringLiteral("#40 = sfig_locate_feature('1',\\'F\\','100.0','50.0','90.0','2.0','2.0')")
            << QPointF(100, 50) << QPointF(100, 70);
        QTest::newRow("mirrored") << 1
                                  << QStringLiteral(
                                         "#40 = sfig_locate_feature('1',\\'F\\','100.0','50.0','0.0','-1.0','1.0')")
                                  << QPointF(100, 50) << QPointF(90, 50);
        QTest::newRow("geodetic: x is north")
            << 2 << QStringLiteral("#40 = sfig_locate_feature('1',\\'F\\','100.0','50.0','0.0','1.0','1.0')")
            << QPointF(100, 50) << QPointF(100, 60);
    }
    void compoundFigures()
    {
        QFETCH(int, kind);
        QFETCH(QString, locate);
        QFETCH(QPointF, start);
        QFETCH(QPointF, end);
        const Drawing d = read(sfcWithFigure(kind, locate));
        QCOMPARE(d.elements.size(), 1);
        const Element &e = d.elements[0];
        QVERIFY(near(e.placement.map(e.curve.points[0]), start));
        QVERIFY(near(e.placement.map(e.curve.points[1]), end));
    }

    void compoundFigureCyclesAndUnknownNamesAreRefused()
    {
        // G places itself and F; the sheet places G twice and a figure nobody defined.
        const Drawing d
            = read(samples::sfc({ QStringLiteral("#10 = line_feature('0','2','1','1','0.0','0.0','10.0','0.0')"),
                QStringLiteral("#20 = sfig_org_feature(\\'F\\','1')"),
                QStringLiteral("#30 = sfig_locate_feature('0',\\'G\\','1.0','1.0','0.0','1.0','1.0')"),
                QStringLiteral("#40 = sfig_locate_feature('0',\\'F\\','0.0','0.0','0.0','1.0','1.0')"),
                QStringLiteral("#50 = sfig_org_feature(\\'G\\','3')"),
                QStringLiteral("#60 = sfig_locate_feature('0',\\'G\\','0.0','0.0','0.0','1.0','1.0')"),
                QStringLiteral("#70 = sfig_locate_feature('0',\\'G\\','5.0','0.0','0.0','1.0','1.0')"),
                QStringLiteral("#80 = sfig_locate_feature('0',\\'nobody\\','0.0','0.0','0.0','1.0','1.0')"),
                QStringLiteral("#90 = drawing_sheet_feature(\\'S\\','4','0','0','0')") }));
        QCOMPARE(d.sheet, QRectF(0, 0, 210, 297)); // A4 portrait
        QCOMPARE(d.elements.size(), 2);
        QVERIFY(near(d.elements[1].placement.map(QPointF(0, 0)), QPointF(5, 0)));
        QCOMPARE(d.skipped.value(QStringLiteral("sfig_locate_feature (cycle)")), 2);
        QCOMPARE(d.skipped.value(QStringLiteral("sfig_locate_feature (unknown figure)")), 1);
        QVERIFY(skippedFeaturesText(d).startsWith(QStringLiteral("表示できない要素: ")));
    }

    void dimensionsAndBalloons()
    {
        // A linear dimension of 50 with both extension lines and arrows, and a balloon "1" whose
        // leader starts with an arrow at (100,20).
        const Drawing d = read(
            samples::sfc({ QStringLiteral("#10 = "
                                          "linear_dim_feature('0','2','1','1','10.0','30.0','60.0','30.0','1','10.0','"
                                          "10.0','10.0','12.0','10.0','"
                                          "32.0','1','60.0','10.0','60.0','12.0','60.0','32.0','1','0','10.0','30.0','"
                                          "1.0','1','0','60.0','30.0','1.0','"
                                          "1','0',\\'50\\','35.0','31.0','3.0','3.0','0.0','0.0','0.0','2','1')"),
                QStringLiteral(
                    "#20 = balloon_feature('0','3','1','1','2','(100.0,120.0)','(20.0,40.0)','125.0','45.0','5.0','"
                    "1','1.0','1','0',\\'1\\','125.0','45.0','4.0','2.0','0.0','0.0','0.0','5','1')"),
                QStringLiteral("#30 = drawing_sheet_feature(\\'S\\','9','1','200','100')") }));
        QVERIFY2(d.skipped.isEmpty(), qPrintable(skippedFeaturesText(d)));
        QStringList texts;
        int arrowsAt = 0;
        for (const Element &e : d.elements) {
            if (e.type == Element::Type::Text)
                texts << e.text.text;
            else if (e.curve.points.size() == 3)
                arrowsAt += e.curve.points[1] == QPointF(10, 30) || e.curve.points[1] == QPointF(60, 30)
                    || e.curve.points[1] == QPointF(100, 20);
        }
        QCOMPARE(texts, QStringList({ QStringLiteral("50"), QStringLiteral("1") }));
        QCOMPARE(arrowsAt, 3);
        QCOMPARE(d.elements.size(), 10); // 3 lines, 2 arrows, text; leader, circle, arrow, text
    }

    void p21CompoundFigureAndMarker()
    {
        // A subfigure with one line, mapped at (100,50), turned 90°, scaled 2; a point marker.
        const Drawing d = read(samples::p21({ QStringLiteral("#10=DRAUGHTING_PRE_DEFINED_COLOUR('red');"),
            QStringLiteral("#20=CURVE_STYLE(' ',$,$,#10);"),
            QStringLiteral("#30=PRESENTATION_STYLE_ASSIGNMENT((#20));"),
            QStringLiteral("#40=CARTESIAN_POINT(' ',(0.0,0.0));"),
            QStringLiteral("#50=CARTESIAN_POINT(' ',(10.0,0.0));"), QStringLiteral("#60=POLYLINE(' ',(#40,#50));"),
            samples::styled(70, 30, 60), QStringLiteral("#80=AXIS2_PLACEMENT_2D(' ',#40,$);"),
            QStringLiteral("#90=DRAUGHTING_SUBFIGURE_REPRESENTATION('$$SXF_FM_F',(#70,#80),$);"),
            QStringLiteral("#100=SYMBOL_REPRESENTATION_MAP(#80,#90);"),
            QStringLiteral("#110=CARTESIAN_POINT(' ',(100.0,50.0));"), QStringLiteral("#120=DIRECTION(' ',(0.0,1.0));"),
            QStringLiteral("#130=AXIS2_PLACEMENT_2D(' ',#110,#120);"),
            QStringLiteral("#140=SYMBOL_TARGET(' ',#130,2.0,2.0);"), QStringLiteral("#150=NULL_STYLE(.NULL.);"),
            QStringLiteral("#160=PRESENTATION_STYLE_ASSIGNMENT((#150));"),
            QStringLiteral(
                "#170=(ANNOTATION_OCCURRENCE()ANNOTATION_SYMBOL_OCCURRENCE()GEOMETRIC_REPRESENTATION_ITEM()MAPPED_"
                "ITEM(' ',#100,#140)REPRESENTATION_ITEM(' ')STYLED_ITEM((#160),#170));"),
            // A circle marker at scale 2 beside it.
            QStringLiteral("#190=DEFINED_SYMBOL(' ',PRE_DEFINED_POINT_MARKER_SYMBOL('circle'),#200);"),
            QStringLiteral("#200=SYMBOL_TARGET(' ',#80,2.0,2.0);"), samples::styled(210, 30, 190),
            QStringLiteral("#180=DRAWING_SHEET_REVISION('A4_vertical',(#170,#210),$,'01');") }));
        QCOMPARE(d.sheet, QRectF(0, 0, 210, 297));
        QCOMPARE(d.elements.size(), 2);
        QCOMPARE(d.elements[1].curve.kind, Curve::Kind::Arc);
        QCOMPARE(d.elements[1].curve.rx, 1.5);
        QVERIFY(d.skipped.isEmpty());
        const Element &e = d.elements[0];
        QCOMPARE(e.style.colour, QColor(Qt::red));
        QVERIFY(near(e.placement.map(e.curve.points[1]), QPointF(100, 70)));
    }

    void dxfTextIsDecoded_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("text");
        QTest::newRow("R12, Shift_JIS") << samples::sampleDxf() << QStringLiteral("図面テスト 表示①");
        QTest::newRow("2007, UTF-8") << samples::sampleDxf(
            QStringLiteral("AC1021"), QStringLiteral("ANSI_1252"), QStringLiteral("図面テスト 表示①"), "UTF-8")
                                     << QStringLiteral("図面テスト 表示①");
        QTest::newRow("escapes in ANSI_1252") << samples::sampleDxf(
            QStringLiteral("AC1015"), QStringLiteral("ANSI_1252"), QStringLiteral("\\U+9053\\U+8DEF %%c10"), "UTF-8")
                                              << QStringLiteral("道路 ⌀10");
    }
    void dxfTextIsDecoded()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, text);
        const Drawing d = read(file);
        QCOMPARE(d.elements.size(), 5);
        QCOMPARE(d.elements[3].text.text, text);
        if (!file.contains("ANSI_1252")) {
            QCOMPARE(d.layers[1].name, QStringLiteral("図枠"));
            QCOMPARE(d.elements[0].style.colour, QColor(Qt::red)); // by layer
        }
        QCOMPARE(d.elements[1].style.colour, QColor(Qt::green)); // ACI 3
        QVERIFY(d.layerVisible(d.elements[0].layer));
        QVERIFY(!d.layerVisible(d.elements[4].layer)); // negative colour: off
        QCOMPARE(d.elements[2].curve.sweepDeg, 90.0);
    }

    void binaryDxfIsRefused()
    {
        QByteArray binary("AutoCAD Binary DXF\r\n\x1a\0", 22);
        binary += QByteArray(64, '\0');
        const Result<Drawing> r = readDrawingData(binary);
        QCOMPARE(r.status().code(), Status::Code::NotSupported);
        QCOMPARE(r.status().message(), QStringLiteral("binary DXF"));
        QCOMPARE(readDrawingData("just some text").status().code(), Status::Code::NotSupported);
        QCOMPARE(readDrawingFile(QStringLiteral("/nonexistent/x.sfc")).status().code(), Status::Code::NotFound);
    }

    void renderedPixels_data()
    {
        QTest::addColumn<QColor>("background");
        QTest::addColumn<QColor>("white");
        QTest::newRow("black") << QColor(Qt::black) << QColor(Qt::white);
        QTest::newRow("grey") << QColor(0xE0, 0xE0, 0xE0) << QColor(Qt::black); // white drawn black
    }
    void renderedPixels()
    {
        QFETCH(QColor, background);
        QFETCH(QColor, white);
        // A free 100 × 100 sheet: a cyan square 20–40 with a hole 25–35 (outlines first: a
        // composite curve takes every element since the last closing feature), a thick white
        // line at y 80, a thick red line on a hidden layer at y 50, and a big text.
        const Drawing d = read(samples::sfc({ QStringLiteral("#10 = layer_feature(\\'shown\\','1')"),
            QStringLiteral("#20 = layer_feature(\\'hidden\\','0')"),
            QStringLiteral("#50 = polyline_feature('1','7','1','1','5','(20,40,40,20,20)','(20,20,40,40,20)')"),
            QStringLiteral("#60 = composite_curve_org_feature('7','1','1','0')"),
            QStringLiteral("#70 = polyline_feature('1','7','1','1','5','(25,35,35,25,25)','(25,25,35,35,25)')"),
            QStringLiteral("#80 = composite_curve_org_feature('7','1','1','0')"),
            QStringLiteral("#90 = fill_area_style_colour_feature('1','7','1','1','(2)')"),
            QStringLiteral("#30 = line_feature('1','8','1','9','10.0','80.0','90.0','80.0')"),
            QStringLiteral("#40 = line_feature('2','2','1','9','10.0','50.0','90.0','50.0')"),
            QStringLiteral(
                "#100 = text_string_feature('1','2','0',\\'表\\','60.0','20.0','15.0','15.0','0','0','0','1','1')"),
            QStringLiteral("#110 = drawing_sheet_feature(\\'S\\','9','1','100','100')") }));
        QVERIFY2(d.skipped.isEmpty(), qPrintable(skippedFeaturesText(d)));
        QCOMPARE(d.elements.size(), 4); // composite outlines not drawn (flag 0)
        const QSize size(1000, 1000);
        const QTransform view = fitTransform(d.extent(), size);
        const QImage image = renderDrawing(d, size, view, background);
        QCOMPARE(pixel(image, { 50, 80 }, view), white);
        QCOMPARE(pixel(image, { 70, 50 }, view), background); // hidden layer
        QCOMPARE(pixel(image, { 22, 22 }, view), QColor(Qt::cyan)); // filled
        QCOMPARE(pixel(image, { 30, 30 }, view), background); // the hole
        int red = 0;
        for (int y = 0; y < 15; ++y)
            for (int x = 0; x < 15; ++x)
                red += pixel(image, { 60.5 + x, 20.5 + y }, view).red() > 200
                    && pixel(image, { 60.5 + x, 20.5 + y }, view).green() < 80;
        QVERIFY2(red > 20, "the text's glyph is drawn in its box");

        // A quarter turn to the left: the line above the centre now stands left of it.
        const QTransform turned = fitTransform(d.extent(), size, 1);
        const QImage left = renderDrawing(d, size, turned, background);
        QCOMPARE(turned.map(QPointF(50, 80)).toPoint(), QPoint(215, 500));
        QCOMPARE(pixel(left, { 50, 80 }, turned), white);
        // The lens shows the same model point at its centre, twice as large.
        const QTransform lens = lensTransform(view, view.map(QPointF(50, 80)), QSize(200, 200));
        QCOMPARE(lens.map(QPointF(50, 80)), QPointF(100, 100));
        QCOMPARE(renderDrawing(d, QSize(200, 200), lens, background).pixelColor(100, 100), white);
    }

    void damagedAndHostileFilesEnd()
    {
        // Mutations of the three samples: bytes changed, cut, and chunks repeated. Each file must
        // read to a result (drawing or error) and render.
        QRandomGenerator random(20261124);
        const QList<QByteArray> originals = { samples::sampleSfc(), samples::sampleP21(), samples::sampleDxf() };
        int read = 0;
        for (const QByteArray &original : originals) {
            for (int round = 0; round < 150; ++round) {
                QByteArray data = original;
                const int edits = 1 + random.bounded(8);
                for (int e = 0; e < edits && !data.isEmpty(); ++e) {
                    const int at = random.bounded(int(data.size()));
                    switch (random.bounded(4)) {
                    case 0:
                        data[at] = char(random.bounded(256));
                        break;
                    case 1:
                        data.truncate(at);
                        break;
                    case 2:
                        data.insert(at, data.mid(random.bounded(int(data.size())), random.bounded(200)));
                        break;
                    default:
                        data[at] = "()',\\#=;$.\r\n0-9"[random.bounded(16)];
                        break;
                    }
                }
                const Result<Drawing> r = readDrawingData(data);
                if (r) {
                    renderDrawingFitted(r.value(), QSize(120, 90), Qt::black);
                    ++read;
                }
            }
        }
        QVERIFY(read > 0);

        // Hand-made traps: deep nesting, a callout and a composite curve that contain themselves
        // twice, a figure placing itself, a block inserting itself.
        QString deep
            = QStringLiteral("#10=POLYLINE(' ',") + QString(5000, u'(') + QString(5000, u')') + QStringLiteral(");");
        const QByteArray p21Traps
            = samples::p21({ deep, QStringLiteral("#20=(DRAUGHTING_CALLOUT(' ',(#20,#20))STYLED_ITEM((#30),#20));"),
                QStringLiteral("#30=PRESENTATION_STYLE_ASSIGNMENT(());"),
                QStringLiteral("#40=COMPOSITE_CURVE(' ',(COMPOSITE_CURVE_SEGMENT(.CONTINUOUS.,.T.,#40),"
                               "COMPOSITE_CURVE_SEGMENT(.CONTINUOUS.,.T.,#40)),.F.);"),
                samples::styled(50, 30, 40), samples::styled(60, 30, 10),
                QStringLiteral("#70=DRAWING_SHEET_REVISION('FREE',(#20,#50,#60,#999),$,'01');") });
        QVERIFY(readDrawingData(p21Traps).isOk());
        // No cycle, but each of 40 callouts holds the next one twice: 2^40 paths.
        QStringList chain;
        for (int i = 1; i <= 40; ++i)
            chain
                << QStringLiteral("#%1=(DRAUGHTING_CALLOUT(' ',(#%2,#%2))STYLED_ITEM((#1000),#%1));").arg(i).arg(i + 1);
        chain << QStringLiteral("#41=POLYLINE(' ',(#42,#43));") << QStringLiteral("#42=CARTESIAN_POINT(' ',(0.0,0.0));")
              << QStringLiteral("#43=CARTESIAN_POINT(' ',(1.0,1.0));")
              << QStringLiteral("#1000=PRESENTATION_STYLE_ASSIGNMENT(());")
              << QStringLiteral("#1001=DRAWING_SHEET_REVISION('FREE',(#1),$,'01');");
        QVERIFY(readDrawingData(samples::p21(chain)).isOk());
        QStringList self;
        for (int i = 0; i < 20; ++i)
            self << QStringLiteral("#%1 = sfig_locate_feature('0',\\'F\\','0','0','0','1','1')").arg(i);
        self << QStringLiteral("#99 = sfig_org_feature(\\'F\\','1')")
             << QStringLiteral("#100 = sfig_locate_feature('0',\\'F\\','0','0','0','1','1')");
        const Result<Drawing> figures = readDrawingData(samples::sfc(self));
        QVERIFY(figures.isOk());
        QVERIFY(figures->skipped.value(QStringLiteral("sfig_locate_feature (cycle)")) > 0);
        const Result<Drawing> block
            = readDrawingData(samples::dxf(QStringLiteral("0|SECTION|2|BLOCKS|0|BLOCK|8|0|2|B|70|0|10|0|20|0|30|0|3|B|"
                                                          "0|INSERT|8|0|2|B|10|1|20|0|30|0|0|INSERT|8|0|2|B|10|"
                                                          "2|20|0|30|0|0|LINE|8|0|10|0|20|0|30|0|11|1|21|1|31|0|0|"
                                                          "ENDBLK|0|ENDSEC|0|SECTION|2|ENTITIES|0|INSERT|8|0|2|B|"
                                                          "10|0|20|0|30|0|0|ENDSEC|0|EOF"),
                "UTF-8"));
        QVERIFY(block.isOk());
        QCOMPARE(block->elements.size(), 1);
    }
};

int main(int argc, char *argv[])
{
    QGuiApplication app(argc, argv);
    TestDrawing t;
    return QTest::qExec(&t, argc, argv);
}

#include "tst_drawing.moc"
