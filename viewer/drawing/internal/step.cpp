#include "viewer/drawing/internal/step.h"

#include <algorithm>
#include <cmath>

#include <QStringDecoder>

#include "viewer/drawing/internal/sxfbuilder.h"
#include "viewer/drawing/readers.h"

namespace tolvane::viewer::drawing::internal {

double StepValue::toNumber(double fallback) const
{
    if (type == Type::Number)
        return number;
    if (type == Type::Typed && items.size() == 1)
        return items.front().toNumber(fallback);
    return fallback;
}

QString StepValue::toText() const
{
    if (type == Type::String || type == Type::Enum)
        return text;
    if (type == Type::Typed && items.size() == 1)
        return items.front().toText();
    return {};
}

const StepRecord *StepInstance::record(QStringView name) const
{
    for (const StepRecord &r : records)
        if (r.name.size() == name.size() && r.name == name) // the size first: most names differ in it
            return &r;
    return nullptr;
}

namespace {

int hexValue(QChar c)
{
    const char16_t u = c.unicode();
    if (u >= u'0' && u <= u'9')
        return u - u'0';
    if (u >= u'A' && u <= u'F')
        return u - u'A' + 10;
    if (u >= u'a' && u <= u'f')
        return u - u'a' + 10;
    return -1;
}

// Reads hex digits of width per character until "\X0\"; returns the position after it.
qsizetype decodeHexRun(QStringView raw, qsizetype i, int width, QString &out)
{
    while (i < raw.size()) {
        if (raw.mid(i).startsWith(u"\\X0\\"))
            return i + 4;
        if (i + width > raw.size())
            return raw.size();
        char32_t code = 0;
        for (int k = 0; k < width; ++k) {
            const int h = hexValue(raw[i + k]);
            if (h < 0)
                return i + k; // not a hex run after all: resume as plain text
            code = code * 16 + char32_t(h);
        }
        if (width == 4)
            out.append(QChar(char16_t(code)));
        else if (code <= 0x10FFFF)
            out.append(QString::fromUcs4(&code, 1));
        i += width;
    }
    return i;
}

// An instance id: decimal digits only, at most 18 of them (no overflow).
bool parseId(QStringView digits, qint64 &out)
{
    if (digits.isEmpty() || digits.size() > 18)
        return false;
    qint64 v = 0;
    for (const QChar c : digits) {
        const char16_t u = c.unicode();
        if (u < u'0' || u > u'9')
            return false;
        v = v * 10 + (u - u'0');
    }
    out = v;
    return true;
}

// Parses values from a STEP text with a depth bound.
class Parser {
public:
    explicit Parser(QStringView text)
        : m_text(text)
    {
    }

    bool instance(std::vector<StepRecord> &records)
    {
        skipSpace();
        if (peek() == u'(') {
            ++m_pos;
            while (true) {
                skipSpace();
                if (peek() == u')') {
                    ++m_pos;
                    return true;
                }
                StepRecord r;
                if (!record(r))
                    return false;
                records.push_back(std::move(r));
            }
        }
        StepRecord r;
        if (!record(r))
            return false;
        records.push_back(std::move(r));
        return true;
    }

private:
    QChar peek() const { return m_pos < m_text.size() ? m_text[m_pos] : QChar(); }
    void skipSpace()
    {
        while (m_pos < m_text.size()) {
            if (m_text[m_pos].isSpace())
                ++m_pos;
            else if (m_text.mid(m_pos).startsWith(u"/*")) {
                const qsizetype end = m_text.indexOf(u"*/", m_pos + 2);
                m_pos = end < 0 ? m_text.size() : end + 2;
            } else
                break;
        }
    }
    QString keyword()
    {
        const qsizetype start = m_pos;
        while (m_pos < m_text.size() && (m_text[m_pos].isLetterOrNumber() || m_text[m_pos] == u'_'))
            ++m_pos;
        return m_text.mid(start, m_pos - start).toString().toUpper();
    }
    bool record(StepRecord &r)
    {
        skipSpace();
        r.name = keyword();
        if (r.name.isEmpty())
            return false;
        skipSpace();
        return list(r.args, 0);
    }
    // "(" value {"," value} ")"
    bool list(std::vector<StepValue> &out, int depth)
    {
        if (depth > kMaxNesting || peek() != u'(')
            return false;
        ++m_pos;
        skipSpace();
        if (peek() == u')') {
            ++m_pos;
            return true;
        }
        while (true) {
            StepValue v;
            if (!value(v, depth))
                return false;
            out.push_back(std::move(v));
            skipSpace();
            if (peek() == u',') {
                ++m_pos;
                continue;
            }
            if (peek() == u')') {
                ++m_pos;
                return true;
            }
            return false;
        }
    }
    bool value(StepValue &v, int depth)
    {
        skipSpace();
        const QChar c = peek();
        if (c == u'$' || c == u'*') {
            ++m_pos;
            return true;
        }
        if (c == u'#') {
            ++m_pos;
            const qsizetype start = m_pos;
            while (m_pos < m_text.size() && m_text[m_pos].isDigit())
                ++m_pos;
            v.type = StepValue::Type::Ref;
            return parseId(m_text.mid(start, m_pos - start), v.ref);
        }
        if (c == u'\'') {
            const qsizetype start = ++m_pos;
            while (m_pos < m_text.size()) {
                if (m_text[m_pos] == u'\'') {
                    if (m_pos + 1 < m_text.size() && m_text[m_pos + 1] == u'\'') {
                        m_pos += 2;
                        continue;
                    }
                    break;
                }
                ++m_pos;
            }
            if (m_pos >= m_text.size())
                return false;
            v.type = StepValue::Type::String;
            v.text = decodeStepString(m_text.mid(start, m_pos - start));
            ++m_pos;
            return true;
        }
        if (c == u'"') {
            const qsizetype end = m_text.indexOf(u'"', m_pos + 1);
            if (end < 0)
                return false;
            v.type = StepValue::Type::String;
            v.text = m_text.mid(m_pos + 1, end - m_pos - 1).toString();
            m_pos = end + 1;
            return true;
        }
        if (c == u'.') {
            const qsizetype end = m_text.indexOf(u'.', m_pos + 1);
            if (end < 0)
                return false;
            v.type = StepValue::Type::Enum;
            v.text = m_text.mid(m_pos + 1, end - m_pos - 1).toString().toUpper();
            m_pos = end + 1;
            return true;
        }
        if (c == u'(') {
            v.type = StepValue::Type::List;
            return list(v.items, depth + 1);
        }
        if (c.isDigit() || c == u'-' || c == u'+') {
            const qsizetype start = m_pos++;
            while (m_pos < m_text.size()
                && (m_text[m_pos].isDigit() || m_text[m_pos] == u'.' || m_text[m_pos] == u'E' || m_text[m_pos] == u'e'
                    || ((m_text[m_pos] == u'-' || m_text[m_pos] == u'+')
                        && (m_text[m_pos - 1] == u'E' || m_text[m_pos - 1] == u'e'))))
                ++m_pos;
            bool ok = false;
            v.number = toDouble(m_text.mid(start, m_pos - start), &ok);
            v.type = StepValue::Type::Number;
            return ok && std::isfinite(v.number);
        }
        if (c.isLetter() || c == u'_') {
            v.type = StepValue::Type::Typed;
            v.text = keyword();
            skipSpace();
            return list(v.items, depth + 1);
        }
        return false;
    }

    QStringView m_text;
    qsizetype m_pos = 0;
};

} // namespace

QString decodeStepString(QStringView raw)
{
    QString out;
    out.reserve(raw.size());
    qsizetype i = 0;
    while (i < raw.size()) {
        const QChar c = raw[i];
        if (c == u'\'' && i + 1 < raw.size() && raw[i + 1] == u'\'') {
            out.append(u'\'');
            i += 2;
            continue;
        }
        if (c != u'\\') {
            out.append(c);
            ++i;
            continue;
        }
        const QStringView rest = raw.mid(i);
        if (rest.startsWith(u"\\\\")) {
            out.append(u'\\');
            i += 2;
        } else if (rest.startsWith(u"\\X2\\")) {
            i = decodeHexRun(raw, i + 4, 4, out);
        } else if (rest.startsWith(u"\\X4\\")) {
            i = decodeHexRun(raw, i + 4, 8, out);
        } else if (rest.startsWith(u"\\X\\") && rest.size() >= 5 && hexValue(rest[3]) >= 0 && hexValue(rest[4]) >= 0) {
            out.append(QChar(char16_t(hexValue(rest[3]) * 16 + hexValue(rest[4]))));
            i += 5;
        } else if (rest.startsWith(u"\\S\\") && rest.size() >= 4) {
            out.append(QChar(char16_t(rest[3].unicode() + 128)));
            i += 4;
        } else if (rest.startsWith(u"\\P") && rest.size() >= 4 && rest[3] == u'\\') {
            i += 4;
        } else {
            out.append(c);
            ++i;
        }
    }
    return out;
}

StepFile::StepFile(const QByteArray &data)
{
    QStringDecoder utf8(QStringDecoder::Utf8);
    m_text = utf8.decode(data);
    if (utf8.hasError()) {
        m_text = decodeWindows31j(data);
    }
    const QStringView text(m_text);
    m_isStep = text.trimmed().startsWith(u"ISO-10303-21");
    // Ids by entity name as written; the names are upper-cased once each at the end.
    // Every instance ends with a ";": their count bounds the index.
    std::vector<std::pair<qint64, Range>> entries;
    entries.reserve(std::count(data.cbegin(), data.cend(), ';'));
    QHash<QStringView, qsizetype> nameSlot;
    QHash<QString, qsizetype> upperSlot;
    std::vector<QList<qint64>> idsByName;
    // Statements end with ";" outside strings and comments.
    qsizetype i = 0;
    const qsizetype n = text.size();
    while (i < n) {
        while (i < n && text[i].isSpace())
            ++i;
        if (i + 1 < n && text[i] == u'/' && text[i + 1] == u'*') {
            const qsizetype end = text.indexOf(u"*/", i + 2);
            i = end < 0 ? n : end + 2;
            continue;
        }
        const qsizetype start = i;
        bool inString = false;
        while (i < n) {
            const QChar c = text[i];
            if (c == u'\'')
                inString = !inString;
            else if (!inString && c == u';')
                break;
            else if (!inString && c == u'/' && i + 1 < n && text[i + 1] == u'*') {
                const qsizetype end = text.indexOf(u"*/", i + 2);
                i = end < 0 ? n : end + 2;
                continue;
            }
            ++i;
        }
        const QStringView statement = text.mid(start, i - start);
        ++i;
        if (statement.startsWith(u'#')) {
            const qsizetype eq = statement.indexOf(u'=');
            if (eq < 0)
                continue;
            qint64 id = 0;
            if (!parseId(statement.mid(1, eq - 1).trimmed(), id))
                continue;
            qsizetype body = eq + 1;
            while (body < statement.size() && statement[body].isSpace())
                ++body;
            entries.push_back({ id, { start + body, statement.size() - body } });
            qsizetype end = body;
            while (end < statement.size() && (statement[end].isLetterOrNumber() || statement[end] == u'_'))
                ++end;
            if (end > body) {
                const QStringView name = statement.mid(body, end - body);
                auto slot = nameSlot.constFind(name);
                if (slot == nameSlot.constEnd()) {
                    // Names differing only in case share one list, in file order.
                    const QString upper = name.toString().toUpper();
                    qsizetype index = upperSlot.value(upper, -1);
                    if (index < 0) {
                        index = qsizetype(idsByName.size());
                        upperSlot.insert(upper, index);
                        idsByName.emplace_back();
                    }
                    slot = nameSlot.insert(name, index);
                }
                idsByName[*slot].append(id);
            }
        } else if (statement.startsWith(u"FILE_DESCRIPTION")) {
            m_description = statement.toString();
        }
    }
    // A later instance of the same id replaces the earlier one.
    qint64 maxId = 0;
    for (const auto &e : entries)
        maxId = std::max(maxId, e.first);
    if (!entries.empty() && maxId <= 4 * qint64(entries.size()) + 1024) {
        m_byId.assign(size_t(maxId) + 1, Range { 0, -1 });
        for (const auto &[id, range] : entries) {
            if (m_byId[size_t(id)].length < 0)
                ++m_count;
            m_byId[size_t(id)] = range;
        }
    } else {
        m_index.reserve(qsizetype(entries.size()));
        for (const auto &[id, range] : entries)
            m_index.insert(id, range);
        m_count = m_index.size();
    }
    for (auto it = upperSlot.cbegin(); it != upperSlot.cend(); ++it)
        m_byName.insert(it.key(), std::move(idsByName[it.value()]));
}

StepInstance StepFile::instance(qint64 id) const
{
    StepInstance out;
    const Range *range = nullptr;
    if (!m_byId.empty()) {
        if (id >= 0 && id < qint64(m_byId.size()) && m_byId[size_t(id)].length >= 0)
            range = &m_byId[size_t(id)];
    } else if (const auto it = m_index.constFind(id); it != m_index.constEnd()) {
        range = &*it;
    }
    if (!range)
        return out;
    Parser parser(QStringView(m_text).mid(range->start, range->length));
    if (!parser.instance(out.records))
        out.records.clear();
    return out;
}

} // namespace tolvane::viewer::drawing::internal
