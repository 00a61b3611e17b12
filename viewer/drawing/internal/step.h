// A small ISO 10303-21 (STEP file) reader: the DATA section indexed by instance id, and each
// instance parsed on demand into partial records and their values. Parsing is bounded in depth;
// a damaged instance parses as empty. Not thread-safe per object.
#pragma once

#include <vector>

#include <QHash>
#include <QString>
#include <QStringList>

namespace tolvane::viewer::drawing::internal {

struct StepValue {
    enum class Type : quint8 { Null, Number, String, Enum, Ref, List, Typed };
    Type type = Type::Null;
    double number = 0;
    qint64 ref = 0;
    QString text; // string, enumeration or the type name of a typed value
    std::vector<StepValue> items; // list items or the typed value's arguments

    bool isRef() const { return type == Type::Ref; }
    // A number, also inside a typed value such as POSITIVE_LENGTH_MEASURE(0.25).
    double toNumber(double fallback = 0) const;
    // A string, also inside IDENTIFIER('…').
    QString toText() const;
};

// One partial record of an instance: NAME(arguments). A simple instance has one.
struct StepRecord {
    QString name; // upper case as written
    std::vector<StepValue> args;
};

struct StepInstance {
    std::vector<StepRecord> records;
    bool isNull() const { return records.empty(); }
    // The first record of that name, or null.
    const StepRecord *record(QStringView name) const;
    bool has(QStringView name) const { return record(name) != nullptr; }
    // The name of the first record (the entity of a simple instance).
    QString name() const { return records.empty() ? QString() : records.front().name; }
};

class StepFile {
public:
    // Decodes data (UTF-8 when it is valid UTF-8, else Windows-31J) and indexes its DATA section.
    explicit StepFile(const QByteArray &data);

    bool isStep() const { return m_isStep; }
    qsizetype instanceCount() const { return m_count; }
    // The instance #id (empty when it is missing or damaged).
    StepInstance instance(qint64 id) const;
    // Ids of the instances whose first record is name, in file order.
    QList<qint64> idsOf(const QString &name) const { return m_byName.value(name); }
    // The FILE_DESCRIPTION text of the header.
    const QString &description() const { return m_description; }

private:
    struct Range {
        qsizetype start;
        qsizetype length; // negative: no such instance
    };
    QString m_text;
    // Writers number instances densely from 1: then a plain array by id, else a hash.
    std::vector<Range> m_byId;
    QHash<qint64, Range> m_index;
    qsizetype m_count = 0;
    QHash<QString, QList<qint64>> m_byName;
    QString m_description;
    bool m_isStep = false;
};

// Decodes the escapes of a STEP string (already without its quotes): '' , \\, \X2\…\X0\,
// \X4\…\X0\, \X\hh, \S\c and \P?\.
QString decodeStepString(QStringView raw);

} // namespace tolvane::viewer::drawing::internal
