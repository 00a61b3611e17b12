// Reads and draws generated drawings: an SFC of about 20 MB (200,000 elements) and P21 files of
// 20 MB (60,000 elements, 240,000 instances) and of the same 200,000 elements (68 MB), then draws
// each fitted into 2000 × 1414 pixels on black. The goal is under half a second for reading and
// drawing each 20 MB file, in a release build.
//
// Usage: bench_drawing [elements]. Prints wall-clock and CPU times; asserts nothing.
#include <cstdio>
#include <ctime>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QRandomGenerator>
#include <QStringEncoder>

#include "viewer/drawing/readers.h"
#include "viewer/drawing/render.h"

using namespace tolvane;
using namespace tolvane::viewer::drawing;

namespace {

void say(const QString &line)
{
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

QString header(const char *mode)
{
    return QStringLiteral(
        "ISO-10303-21;\r\nHEADER;\r\nFILE_DESCRIPTION(('SCADEC level2 %1'),'2;1');\r\n"
        "FILE_NAME('bench','2026-11-24T0:0:0',('bench'),('bench'),'SCADEC_API_Ver3.30$$3.1','bench','');"
        "\r\nFILE_SCHEMA(('ASSOCIATIVE_DRAUGHTING'));\r\nENDSEC;\r\nDATA;\r\n")
        .arg(QString::fromLatin1(mode));
}

// Short lines in random places and colours on an A1 sheet; every 20th element a circle, every
// 50th a text.
QByteArray sfc(int elements)
{
    QRandomGenerator random(7);
    QString out = header("feature_mode");
    out += QStringLiteral("/*SXF\r\n#1 = layer_feature(\\'線\\','1')\r\nSXF*/\r\n");
    for (int i = 0; i < elements; ++i) {
        const double x = random.bounded(841.0), y = random.bounded(594.0);
        QString f;
        if (i % 50 == 0)
            f = QStringLiteral(
                "text_string_feature('1','%1','0',\\'測点%2\\','%3','%4','3.5','14.0','0.0','0.0','0.0','1','1')")
                    .arg(1 + i % 16)
                    .arg(i)
                    .arg(x, 0, 'f', 6)
                    .arg(y, 0, 'f', 6);
        else if (i % 20 == 0)
            f = QStringLiteral("circle_feature('1','%1','1','3','%2','%3','%4')")
                    .arg(1 + i % 16)
                    .arg(x, 0, 'f', 6)
                    .arg(y, 0, 'f', 6)
                    .arg(random.bounded(10.0), 0, 'f', 6);
        else
            f = QStringLiteral("line_feature('1','%1','1','3','%2','%3','%4','%5')")
                    .arg(1 + i % 16)
                    .arg(x, 0, 'f', 6)
                    .arg(y, 0, 'f', 6)
                    .arg(x + random.bounded(20.0) - 10, 0, 'f', 6)
                    .arg(y + random.bounded(20.0) - 10, 0, 'f', 6);
        out += QStringLiteral("/*SXF\r\n#%1 = %2\r\nSXF*/\r\n").arg(10 + i).arg(f);
    }
    out += QStringLiteral("/*SXF\r\n#9 = drawing_sheet_feature(\\'bench\\','1','1','841','594')\r\nSXF*/\r\n"
                          "ENDSEC;\r\nEND-ISO-10303-21;\r\n");
    return QStringEncoder("windows-31j").encode(out);
}

QByteArray p21(int elements)
{
    QRandomGenerator random(7);
    QString out = header("AP202_mode");
    out += QStringLiteral(
        "#1=DRAUGHTING_PRE_DEFINED_COLOUR('white');\r\n#2=DRAUGHTING_PRE_DEFINED_CURVE_FONT('continuous');"
        "\r\n#3=CURVE_STYLE(' ',#2,POSITIVE_LENGTH_MEASURE(0.25),#1);\r\n"
        "#4=PRESENTATION_STYLE_ASSIGNMENT((#3));\r\n");
    QStringList items;
    qint64 id = 100;
    for (int i = 0; i < elements; ++i) {
        const double x = random.bounded(841.0), y = random.bounded(594.0);
        const qint64 a = id, b = id + 1, line = id + 2, item = id + 3;
        id += 10;
        out += QStringLiteral(
            "#%1=CARTESIAN_POINT(' ',(%2,%3));\r\n#%4=CARTESIAN_POINT(' ',(%5,%6));\r\n"
            "#%7=POLYLINE(' ',(#%1,#%4));\r\n#%8=(ANNOTATION_CURVE_OCCURRENCE()ANNOTATION_OCCURRENCE()"
            "DRAUGHTING_ANNOTATION_OCCURRENCE()GEOMETRIC_REPRESENTATION_ITEM()REPRESENTATION_ITEM(' ')"
            "STYLED_ITEM((#4),#%7));\r\n")
                   .arg(a)
                   .arg(x, 0, 'f', 6)
                   .arg(y, 0, 'f', 6)
                   .arg(b)
                   .arg(x + random.bounded(20.0) - 10, 0, 'f', 6)
                   .arg(y + random.bounded(20.0) - 10, 0, 'f', 6)
                   .arg(line)
                   .arg(item);
        items << QStringLiteral("#%1").arg(item);
    }
    out += QStringLiteral("#9=DRAWING_SHEET_REVISION('A1_horizontal',(%1),$,'01');\r\nENDSEC;\r\nEND-ISO-10303-21;\r\n")
               .arg(items.join(u','));
    return out.toLatin1();
}

// CPU time of the whole process in ms: steadier than the wall clock on a shared machine.
qint64 cpuMs()
{
    timespec ts {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return qint64(ts.tv_sec) * 1000 + ts.tv_nsec / 1'000'000;
}

void run(const char *name, const QByteArray &data)
{
    QElapsedTimer t;
    t.start();
    qint64 cpu = cpuMs();
    Result<Drawing> d = readDrawingData(data);
    const qint64 readMs = t.elapsed();
    const qint64 readCpuMs = cpuMs() - cpu;
    if (!d) {
        say(QStringLiteral("%1: %2").arg(QString::fromLatin1(name), d.status().toString()));
        return;
    }
    t.restart();
    cpu = cpuMs();
    const QImage image = renderDrawingFitted(*d, QSize(2000, 1414), Qt::black);
    const qint64 drawMs = t.elapsed();
    const qint64 drawCpuMs = cpuMs() - cpu;
    say(QStringLiteral("%1: %2 MB, %3 elements: read %4 ms, drawn %5 ms, together %6 ms "
                       "(CPU: read %7 ms, drawn %8 ms)")
            .arg(QString::fromLatin1(name))
            .arg(data.size() / 1e6, 0, 'f', 1)
            .arg(d->elements.size())
            .arg(readMs)
            .arg(drawMs)
            .arg(readMs + drawMs)
            .arg(readCpuMs)
            .arg(drawCpuMs));
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const int elements = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 200'000;
    // The same number of elements makes a P21 file about three times the SFC's size (four
    // instances each); three tenths of them make a P21 of the SFC's 20 MB.
    run("P21", p21(elements * 3 / 10));
    run("P21", p21(elements));
    run("SFC", sfc(elements));
    return 0;
}
