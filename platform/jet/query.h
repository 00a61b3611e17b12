// Typed single-table queries: conditions carry bound values, never text spliced into a statement.
#pragma once

#include "platform/jet/types.h"

namespace tolvane::jet {

struct Condition {
    enum class Op {
        Equal, // column = value; text compared case-insensitively, as Jet does
        Like, // column Like pattern: see likeMatch
        Between, // value <= column <= value2 (both bounds inclusive)
    };
    QString column;
    Op op = Op::Equal;
    QVariant value;
    QVariant value2;

    static Condition equal(QString column, QVariant v) { return { std::move(column), Op::Equal, std::move(v), {} }; }
    static Condition like(QString column, QString pattern) { return { std::move(column), Op::Like, pattern, {} }; }
    static Condition between(QString column, QVariant lo, QVariant hi)
    {
        return { std::move(column), Op::Between, std::move(lo), std::move(hi) };
    }
    // True when the value satisfies the condition (a null never does).
    bool matches(const QVariant &v) const;
};

// SELECT columns FROM table WHERE c1 AND c2 ... ORDER BY column.
struct Query {
    QString table;
    QStringList columns; // empty = every column, in column order
    QList<Condition> conditions; // all must hold
    QString orderBy; // empty = storage order; ascending, nulls first, stable
    bool descending = false;

    Query() = default;
    explicit Query(QString t)
        : table(std::move(t))
    {
    }
    Query &select(QStringList c)
    {
        columns = std::move(c);
        return *this;
    }
    Query &where(Condition c)
    {
        conditions.append(std::move(c));
        return *this;
    }
    Query &order(QString c, bool desc = false)
    {
        orderBy = std::move(c);
        descending = desc;
        return *this;
    }
};

// Like-pattern match, case-insensitive: % = any run, _ = any one character, [abc] / [a-z] = one
// character of the list, [!abc] = one character not in it; a [ without its ] is literal, and so
// is every other character.
bool likeMatch(QStringView text, QStringView pattern);

// Whether v holds a value that compareValues compares as a number.
bool isNumericValue(const QVariant &v);

// Jet's text comparison: case-insensitive. Returns <0, 0, >0.
int compareValues(const QVariant &a, const QVariant &b);

} // namespace tolvane::jet
