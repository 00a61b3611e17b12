#include "shell/ui/qtprompter.h"

#include <QColorDialog>
#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QRegularExpression>

namespace tolvane::shell {

Prompter::Answer QtPrompter::message(const Message &msg)
{
    QMessageBox box(m_parent);
    box.setWindowTitle(msg.title);
    box.setText(msg.text);
    switch (msg.icon) {
    case Icon::Information:
        box.setIcon(QMessageBox::Information);
        break;
    case Icon::Warning:
        box.setIcon(QMessageBox::Warning);
        break;
    case Icon::Critical:
        box.setIcon(QMessageBox::Critical);
        break;
    case Icon::Question:
        box.setIcon(QMessageBox::Question);
        break;
    case Icon::None:
        box.setIcon(QMessageBox::NoIcon);
        break;
    }
    switch (msg.buttons) {
    case Buttons::Ok:
        box.setStandardButtons(QMessageBox::Ok);
        break;
    case Buttons::OkCancel:
        box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
        break;
    case Buttons::YesNo:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
        break;
    case Buttons::YesNoCancel:
        box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        break;
    }
    switch (box.exec()) {
    case QMessageBox::Ok:
        return Answer::Ok;
    case QMessageBox::Yes:
        return Answer::Yes;
    case QMessageBox::No:
        return Answer::No;
    default:
        return msg.buttons == Buttons::YesNo ? Answer::No : Answer::Cancel;
    }
}

QString QtPrompter::defaultSuffix(const QString &filter)
{
    static const QRegularExpression re(QStringLiteral("\\*\\.([A-Za-z0-9]+)"));
    const auto m = re.match(filter);
    return m.hasMatch() ? m.captured(1) : QString();
}

QString QtPrompter::openFile(const QString &title, const QString &filter, const QString &startDir)
{
    QFileDialog dlg(m_parent, title, startDir, filter);
    dlg.setAcceptMode(QFileDialog::AcceptOpen);
    dlg.setFileMode(QFileDialog::ExistingFile);
    if (dlg.exec() != QDialog::Accepted || dlg.selectedFiles().isEmpty())
        return {};
    return dlg.selectedFiles().constFirst();
}

QString QtPrompter::saveFile(const QString &title, const QString &filter, const QString &startDir)
{
    QFileDialog dlg(m_parent, title, startDir, filter);
    dlg.setAcceptMode(QFileDialog::AcceptSave);
    dlg.setFileMode(QFileDialog::AnyFile);
    // Choosing an existing file is refused by the caller (a catalogue is never overwritten), so
    // the dialog must not ask whether to replace it.
    dlg.setOption(QFileDialog::DontConfirmOverwrite);
    const QString suffix = defaultSuffix(filter);
    dlg.setDefaultSuffix(suffix);
    if (dlg.exec() != QDialog::Accepted || dlg.selectedFiles().isEmpty())
        return {};
    QString path = dlg.selectedFiles().constFirst();
    if (!suffix.isEmpty() && !path.endsWith(QLatin1Char('.') + suffix, Qt::CaseInsensitive))
        path += QLatin1Char('.') + suffix;
    return path;
}

QString QtPrompter::folder(const QString &title, const QString &startDir)
{
    return QFileDialog::getExistingDirectory(m_parent, title, startDir, QFileDialog::ShowDirsOnly);
}

QColor QtPrompter::color(const QString &title, const QColor &initial, const QList<QColor> &customColours)
{
    for (int i = 0; i < customColours.size() && i < QColorDialog::customCount(); ++i)
        QColorDialog::setCustomColor(i, customColours[i]);
    return QColorDialog::getColor(initial, m_parent, title);
}

QString QtPrompter::text(const QString &title, const QString &label, const QString &initial, bool *ok)
{
    return QInputDialog::getText(m_parent, title, label, QLineEdit::Normal, initial, ok);
}

int QtPrompter::number(const QString &title, const QString &label, int initial, int min, int max, bool *ok)
{
    return QInputDialog::getInt(m_parent, title, label, initial, min, max, 1, ok);
}

} // namespace tolvane::shell
