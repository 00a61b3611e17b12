// ConsolePrompter: the Prompter of tolvane-cli. Confirmations are answered Yes; every other
// message is printed (information to stdout, warnings and errors to stderr) and remembered so
// that the command can choose its exit code. The save dialog answers with a path given in
// advance. Single-threaded.
#pragma once

#include "platform/prompter.h"

namespace tolvane::cli {

// UTF-8 output with "\n" line ends (message texts use CR LF between lines).
void writeOut(const QString &text);
void writeErr(const QString &text);

class ConsolePrompter : public Prompter {
public:
    // The answer of saveFile/openFile (the catalogue path given on the command line).
    void setFileAnswer(const QString &path) { m_file = path; }
    // True once a warning or critical message was shown.
    bool refused() const { return m_refused; }
    int informationCount() const { return m_information; }

    Answer message(const Message &msg) override;
    QString openFile(const QString &title, const QString &filter, const QString &startDir) override;
    QString saveFile(const QString &title, const QString &filter, const QString &startDir) override;
    QString folder(const QString &title, const QString &startDir) override;
    QColor color(const QString &title, const QColor &initial, const QList<QColor> &customColours) override;
    QString text(const QString &title, const QString &label, const QString &initial, bool *ok) override;
    int number(const QString &title, const QString &label, int initial, int min, int max, bool *ok) override;

private:
    QString m_file;
    bool m_refused = false;
    int m_information = 0;
};

} // namespace tolvane::cli
