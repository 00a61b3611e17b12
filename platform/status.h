// Status and Result<T>: how every logic function reports success or a named kind of failure.
// Value types; not shared between threads.
#pragma once

#include <optional>
#include <utility>

#include <QString>

namespace tolvane {

class Status {
public:
    enum class Code {
        Ok,
        NotFound,
        Corruption,
        IOError,
        InvalidArgument,
        NotSupported,
        ReadOnly,
        Cancelled,
        Busy,
        DiskFull,
        Conflict
    };

    Status() = default;
    Status(Code code, QString message)
        : m_code(code)
        , m_message(std::move(message))
    {
    }

    static Status ok() { return {}; }
    static Status notFound(QString m) { return { Code::NotFound, std::move(m) }; }
    static Status corruption(QString m) { return { Code::Corruption, std::move(m) }; }
    static Status ioError(QString m) { return { Code::IOError, std::move(m) }; }
    static Status invalidArgument(QString m) { return { Code::InvalidArgument, std::move(m) }; }
    static Status notSupported(QString m) { return { Code::NotSupported, std::move(m) }; }
    static Status readOnly(QString m) { return { Code::ReadOnly, std::move(m) }; }
    static Status cancelled(QString m = {}) { return { Code::Cancelled, std::move(m) }; }
    // The disk lacks room; the message says how much more is needed, in words for the user.
    static Status diskFull(QString m) { return { Code::DiskFull, std::move(m) }; }
    // Another connection holds the catalogue's write lock (or is committing) and did not let go in time.
    static Status busy(QString m) { return { Code::Busy, std::move(m) }; }
    // A row named by the id the caller held is no longer the row it read: another connection
    // changed or deleted it since (and its place may hold another row now).
    static Status conflict(QString m) { return { Code::Conflict, std::move(m) }; }

    bool isOk() const { return m_code == Code::Ok; }
    explicit operator bool() const { return isOk(); }
    Code code() const { return m_code; }
    const QString &message() const { return m_message; }
    // "Corruption: bad page 3" style text for logs and command-line output.
    QString toString() const;

private:
    Code m_code = Code::Ok;
    QString m_message;
};

// Either a value or a failed Status.
template <class T> class Result {
public:
    Result(T value)
        : m_value(std::move(value))
    {
    }
    Result(Status status)
        : m_status(std::move(status))
    {
    }

    bool isOk() const { return m_status.isOk(); }
    explicit operator bool() const { return isOk(); }
    const Status &status() const { return m_status; }
    // Requires: isOk().
    T &value() { return *m_value; }
    const T &value() const { return *m_value; }
    T *operator->() { return &*m_value; }
    const T *operator->() const { return &*m_value; }
    T &operator*() { return *m_value; }
    // Moves the value out. Requires: isOk().
    T take() { return std::move(*m_value); }

private:
    Status m_status;
    std::optional<T> m_value;
};

inline QString Status::toString() const
{
    static const char *const names[] = { "OK", "NotFound", "Corruption", "IOError", "InvalidArgument", "NotSupported",
        "ReadOnly", "Cancelled", "Busy", "DiskFull", "Conflict" };
    const QString name = QString::fromLatin1(names[static_cast<int>(m_code)]);
    return m_message.isEmpty() ? name : name + QStringLiteral(": ") + m_message;
}

} // namespace tolvane
