// Small drawings written the way the CAD writers write them: one sheet as SFC and as P21 (the
// same drawing), and a DXF R12 with Shift_JIS text. Header-only test helpers.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringEncoder>
#include <QStringList>

namespace tolvane::test::drawings {

// The text of the sample sheet: trail byte 0x5C (表, ソ) and NEC characters (①, ㎡).
inline QString sampleText()
{
    return QStringLiteral("道路平面図 表ソ①㎡");
}

inline QByteArray crlf(const QStringList &lines, const char *encoding = "windows-31j")
{
    QStringEncoder encode(encoding);
    return encode.encode(lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n"));
}

// A STEP string body: quotes and backslashes doubled, non-ASCII runs as \X2\…\X0\.
inline QString stepString(const QString &text)
{
    QString out;
    bool wide = false;
    for (QChar c : text) {
        const bool ascii = c.unicode() < 0x80;
        if (ascii && wide) {
            out += QStringLiteral("\\X0\\");
            wide = false;
        }
        if (!ascii && !wide) {
            out += QStringLiteral("\\X2\\");
            wide = true;
        }
        if (!ascii)
            out += QStringLiteral("%1").arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper();
        else if (c == u'\'')
            out += QStringLiteral("''");
        else if (c == u'\\')
            out += QStringLiteral("\\\\");
        else
            out += c;
    }
    if (wide)
        out += QStringLiteral("\\X0\\");
    return out;
}

inline QStringList header(const QString &mode, const QString &name)
{
    return { QStringLiteral("ISO-10303-21;"), QStringLiteral("HEADER;"),
        QStringLiteral("FILE_DESCRIPTION(('SCADEC level2 %1'),").arg(mode), QStringLiteral("        '2;1');"),
        QStringLiteral("FILE_NAME('%1',").arg(name), QStringLiteral("        '2026-11-23T0:0:0',"),
        QStringLiteral("        ('tester'),"), QStringLiteral("        ('test'),"),
        QStringLiteral("        'SCADEC_API_Ver3.30$$3.1',"), QStringLiteral("        'unit-test writer',"),
        QStringLiteral("        '');"), QStringLiteral("FILE_SCHEMA(('ASSOCIATIVE_DRAUGHTING'));"),
        QStringLiteral("ENDSEC;"), QStringLiteral("DATA;") };
}

// SFC: each feature as /*SXF, the feature, SXF*/ and a blank line.
inline QByteArray sfc(const QStringList &features)
{
    QStringList lines = header(QStringLiteral("feature_mode"), QStringLiteral("sample.sfc"));
    for (const QString &f : features)
        lines << QStringLiteral("/*SXF") << f << QStringLiteral("SXF*/") << QString();
    lines << QStringLiteral("ENDSEC;") << QStringLiteral("END-ISO-10303-21;");
    return crlf(lines);
}

// The sample sheet as SFC: A3 landscape, three layers (the third hidden), a white 0.7 mm frame,
// a red dashed line, a user-coloured circle, a quarter arc, a centred text and a hidden diagonal.
inline QByteArray sampleSfc()
{
    return sfc({ QStringLiteral("#10 = pre_defined_colour_feature(\\'white\\')"),
        QStringLiteral("#20 = pre_defined_colour_feature(\\'red\\')"),
        QStringLiteral("#30 = user_defined_colour_feature('0','160','160')"),
        QStringLiteral("#40 = pre_defined_font_feature(\\'continuous\\')"),
        QStringLiteral("#50 = pre_defined_font_feature(\\'dashed\\')"),
        QStringLiteral("#60 = width_feature('0.250000')"), QStringLiteral("#70 = width_feature('0.700000')"),
        QStringLiteral("#80 = text_font_feature(\\'ＭＳ ゴシック\\')"),
        QStringLiteral("#90 = layer_feature(\\'図枠\\','1')"), QStringLiteral("#100 = layer_feature(\\'平面図\\','1')"),
        QStringLiteral("#110 = layer_feature(\\'非表示\\','0')"),
        QStringLiteral("#120 = polyline_feature('1','8','1','6','5','(10.0,410.0,410.0,10.0,10.0)','(10.0,10.0,287.0,"
                       "287.0,10.0)')"),
        QStringLiteral("#130 = line_feature('2','2','2','3','50.0','150.0','370.0','150.0')"),
        QStringLiteral("#140 = circle_feature('2','17','1','3','210.0','150.0','40.0')"),
        QStringLiteral("#150 = arc_feature('2','8','1','3','210.0','150.0','60.0','0','0.0','90.0')"),
        QStringLiteral("#160 = text_string_feature('2','8','1',\\'%1\\','210.0','270.0','7.0','87.5','0.0','0.0','0.0',"
                       "'5','1')")
            .arg(sampleText()),
        QStringLiteral("#170 = line_feature('3','8','1','3','0.0','0.0','420.0','297.0')"),
        QStringLiteral("#180 = drawing_sheet_feature(\\'平面図\\','3','1','420','297')") });
}

// P21 data lines, then the closing lines.
inline QByteArray p21(const QStringList &instances)
{
    QStringList lines = header(QStringLiteral("AP202_mode"), QStringLiteral("sample.p21"));
    lines += instances;
    lines << QStringLiteral("ENDSEC;") << QStringLiteral("END-ISO-10303-21;");
    return crlf(lines);
}

// The styled-item complex instance of a curve or a text.
inline QString styled(int id, int psa, int item, bool text = false)
{
    return QStringLiteral("#%1=(ANNOTATION_%2_OCCURRENCE()ANNOTATION_OCCURRENCE()DRAUGHTING_ANNOTATION_OCCURRENCE()"
                          "GEOMETRIC_REPRESENTATION_ITEM()REPRESENTATION_ITEM(' ')STYLED_ITEM((#%3),#%4));")
        .arg(id)
        .arg(text ? QStringLiteral("TEXT") : QStringLiteral("CURVE"))
        .arg(psa)
        .arg(item);
}

// The sample sheet as the common library writes it in AP202 mode. The text point is the anchor
// moved half the height down (the writer's middle-row shift).
inline QStringList sampleP21Instances()
{
    const QString s = stepString(sampleText());
    return { QStringLiteral("#10=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.MILLI.,.METRE.));"),
        QStringLiteral("#20=DRAUGHTING_PRE_DEFINED_COLOUR('white');"),
        QStringLiteral("#30=DRAUGHTING_PRE_DEFINED_COLOUR('red');"),
        QStringLiteral("#40=COLOUR_RGB('',0.000000,0.627451,0.627451);"),
        QStringLiteral("#50=DRAUGHTING_PRE_DEFINED_CURVE_FONT('continuous');"),
        QStringLiteral("#60=DRAUGHTING_PRE_DEFINED_CURVE_FONT('dashed');"),
        QStringLiteral("#70=LENGTH_MEASURE_WITH_UNIT(POSITIVE_LENGTH_MEASURE(0.250000),#10);"),
        QStringLiteral("#80=LENGTH_MEASURE_WITH_UNIT(POSITIVE_LENGTH_MEASURE(0.700000),#10);"),
        QStringLiteral("#90=EXTERNAL_SOURCE(IDENTIFIER('scadec'));"),
        QStringLiteral("#100=EXTERNALLY_DEFINED_TEXT_FONT(IDENTIFIER('%1'),#90);")
            .arg(stepString(QStringLiteral("ＭＳ ゴシック"))),
        QStringLiteral("#110=CARTESIAN_POINT(' ',(10.000000,10.000000));"),
        QStringLiteral("#120=CARTESIAN_POINT(' ',(410.000000,10.000000));"),
        QStringLiteral("#130=CARTESIAN_POINT(' ',(410.000000,287.000000));"),
        QStringLiteral("#140=CARTESIAN_POINT(' ',(10.000000,287.000000));"),
        QStringLiteral("#150=CARTESIAN_POINT(' ',(10.000000,10.000000));"),
        QStringLiteral("#160=POLYLINE(' ',(#110,#120,#130,#140,#150));"),
        QStringLiteral("#170=CURVE_STYLE(' ',#50,#80,#20);"),
        QStringLiteral("#180=PRESENTATION_STYLE_ASSIGNMENT((#170));"), styled(190, 180, 160),
        QStringLiteral("#200=CARTESIAN_POINT(' ',(370.000000,150.000000));"),
        QStringLiteral("#210=CARTESIAN_POINT(' ',(50.000000,150.000000));"),
        QStringLiteral("#220=DIRECTION(' ',(320.000000,0.000000));"), QStringLiteral("#230=VECTOR(' ',#220,1.000000);"),
        QStringLiteral("#240=LINE(' ',#210,#230);"),
        QStringLiteral("#250=TRIMMED_CURVE(' ',#240,(#210),(#200),.T.,.CARTESIAN.);"),
        QStringLiteral("#260=CURVE_STYLE(' ',#60,#70,#30);"),
        QStringLiteral("#270=PRESENTATION_STYLE_ASSIGNMENT((#260));"), styled(280, 270, 250),
        QStringLiteral("#290=CARTESIAN_POINT(' ',(210.000000,150.000000));"),
        QStringLiteral("#300=AXIS2_PLACEMENT_2D(' ',#290,$);"), QStringLiteral("#310=CIRCLE(' ',#300,40.000000);"),
        QStringLiteral("#320=CURVE_STYLE(' ',#50,#70,#40);"),
        QStringLiteral("#330=PRESENTATION_STYLE_ASSIGNMENT((#320));"), styled(340, 330, 310),
        QStringLiteral("#350=CARTESIAN_POINT(' ',(210.000000,150.000000));"),
        QStringLiteral("#360=AXIS2_PLACEMENT_2D(' ',#350,$);"), QStringLiteral("#370=CIRCLE(' ',#360,60.000000);"),
        QStringLiteral("#380=TRIMMED_CURVE(' ',#370,(PARAMETER_VALUE(0.00000000000000)),(PARAMETER_VALUE(1."
                       "57079632679490)),.T.,.PARAMETER.);"),
        QStringLiteral("#390=CURVE_STYLE(' ',#50,#70,#20);"),
        QStringLiteral("#400=PRESENTATION_STYLE_ASSIGNMENT((#390));"), styled(410, 400, 380),
        QStringLiteral("#420=PLANAR_EXTENT(' ',87.500000,7.000000);"),
        QStringLiteral("#430=DIRECTION(' ',(1.00000000000000,0.00000000000000));"),
        QStringLiteral("#440=CARTESIAN_POINT(' ',(210.000000,266.500000));"),
        QStringLiteral("#450=AXIS2_PLACEMENT_2D(' ',#440,#430);"),
        QStringLiteral(
            "#460=TEXT_LITERAL_WITH_EXTENT('$$SXF_middleline centre','%1',#450,'baseline centre',.RIGHT.,#100,#"
            "420);")
            .arg(s),
        QStringLiteral("#470=TEXT_STYLE_FOR_DEFINED_FONT(#20);"),
        QStringLiteral(
            "#480=(TEXT_STYLE(' ',#470)TEXT_STYLE_WITH_BOX_CHARACTERISTICS((BOX_HEIGHT(7.000000),BOX_WIDTH(5."
            "600000),BOX_SLANT_ANGLE(0.00000000000000),BOX_ROTATE_ANGLE(0.00000000000000)))TEXT_STYLE_WITH_"
            "SPACING(LENGTH_MEASURE(0.000000)));"),
        QStringLiteral("#490=PRESENTATION_STYLE_ASSIGNMENT((#480));"), styled(500, 490, 460, true),
        QStringLiteral("#510=CARTESIAN_POINT(' ',(420.000000,297.000000));"),
        QStringLiteral("#520=CARTESIAN_POINT(' ',(0.000000,0.000000));"),
        QStringLiteral("#530=DIRECTION(' ',(420.000000,297.000000));"),
        QStringLiteral("#540=VECTOR(' ',#530,1.000000);"), QStringLiteral("#550=LINE(' ',#520,#540);"),
        QStringLiteral("#560=TRIMMED_CURVE(' ',#550,(#520),(#510),.T.,.CARTESIAN.);"), styled(570, 400, 560),
        QStringLiteral("#580=DRAWING_DEFINITION('01',$);"),
        QStringLiteral("#590=DRAUGHTING_DRAWING_REVISION('01',#580,$);"),
        QStringLiteral("#600=DRAUGHTING_TITLE((#590),'JAPANESE','%1');").arg(stepString(QStringLiteral("平面図"))),
        QStringLiteral("#610=DIRECTION(' ',(1.000000,0.000000));"),
        QStringLiteral("#620=CARTESIAN_POINT(' ',(0.000000,0.000000));"),
        QStringLiteral("#630=AXIS2_PLACEMENT_2D(' ',#620,#610);"),
        QStringLiteral("#640=PLANAR_BOX(' ',420.000000,297.000000,#630);"),
        QStringLiteral("#650=(NAMED_UNIT(*)PLANE_ANGLE_UNIT()SI_UNIT($,.RADIAN.));"),
        QStringLiteral("#660=(LENGTH_UNIT()NAMED_UNIT(*)SI_UNIT(.MILLI.,.METRE.));"),
        QStringLiteral(
            "#670=(GEOMETRIC_REPRESENTATION_CONTEXT(2)GLOBAL_UNIT_ASSIGNED_CONTEXT((#650,#660))REPRESENTATION_"
            "CONTEXT('ID1','2D'));"),
        QStringLiteral("#680=DRAWING_SHEET_REVISION('A3_horizontal',(#190,#280,#340,#410,#500,#570,#640),#670,'01');"),
        QStringLiteral("#690=DRAWING_SHEET_REVISION_USAGE(#680,#590,'01');"),
        QStringLiteral("#700=PRESENTATION_SIZE(#680,#640);"),
        QStringLiteral("#710=PRESENTATION_LAYER_ASSIGNMENT('%1',' ',(#190));").arg(stepString(QStringLiteral("図枠"))),
        QStringLiteral("#720=PRESENTATION_LAYER_USAGE(#710,#680);"),
        QStringLiteral("#730=PRESENTATION_LAYER_ASSIGNMENT('%1',' ',(#280,#340,#410,#500));")
            .arg(stepString(QStringLiteral("平面図"))),
        QStringLiteral("#740=PRESENTATION_LAYER_USAGE(#730,#680);"),
        QStringLiteral("#750=PRESENTATION_LAYER_ASSIGNMENT('%1',' ',(#570));")
            .arg(stepString(QStringLiteral("非表示"))),
        QStringLiteral("#760=PRESENTATION_LAYER_USAGE(#750,#680);"), QStringLiteral("#770=INVISIBILITY((#750));") };
}

inline QByteArray sampleP21()
{
    return p21(sampleP21Instances());
}

// DXF group code / value pairs written "code|value|code|value…", two CRLF lines each.
inline QByteArray dxf(const QString &pairs, const char *encoding)
{
    return crlf(pairs.split(u'|'), encoding);
}

// The sample DXF R12: a red frame line on 図枠, a green circle, an arc, a Japanese text and a
// line on the layer 非表示, which is off. version and codePage fill the header; text is the
// TEXT entity's value.
inline QByteArray sampleDxf(const QString &version = QStringLiteral("AC1009"),
    const QString &codePage = QStringLiteral("ANSI_932"), const QString &text = QStringLiteral("図面テスト 表示①"),
    const char *encoding = "windows-31j")
{
    return dxf(
        QStringLiteral("0|SECTION|2|HEADER|9|$ACADVER|1|%1|9|$DWGCODEPAGE|3|%2|0|ENDSEC|0|SECTION|2|TABLES|0|TABLE|"
                       "2|LTYPE|70|1|0|LTYPE|2|CONTINUOUS|70|0|3|Solid line|72|65|73|0|40|0.0|0|ENDTAB|0|TABLE|2|"
                       "LAYER|70|3|0|LAYER|2|0|70|0|62|7|6|CONTINUOUS|0|LAYER|2|図枠|70|0|62|1|6|CONTINUOUS|0|"
                       "LAYER|2|非表示|70|0|62|-7|6|CONTINUOUS|0|ENDTAB|0|ENDSEC|0|SECTION|2|ENTITIES|0|LINE|8|"
                       "図枠|10|0.0|20|0.0|30|0.0|11|420.0|21|297.0|31|0.0|0|CIRCLE|8|0|62|3|10|100.0|20|100.0|30|"
                       "0.0|40|25.0|0|ARC|8|0|10|200.0|20|100.0|30|0.0|40|30.0|50|0.0|51|90.0|0|TEXT|8|0|10|50.0|"
                       "20|250.0|30|0.0|40|7.0|1|%3|0|LINE|8|非表示|10|0.0|20|297.0|30|0.0|11|420.0|21|0.0|31|0.0|"
                       "0|ENDSEC|0|EOF")
            .arg(version, codePage, text),
        encoding);
}

} // namespace tolvane::test::drawings
