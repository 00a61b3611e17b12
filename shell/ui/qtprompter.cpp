#include "shell/ui/qtprompter.h"

#include <QColorDialog>
#include <QComboBox>
#include <QDialog>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QVBoxLayout>

namespace tolvane::shell {

namespace {
// The two buttons of the small forms: Command1(0) confirms, Command1(1) cancels.
QHBoxLayout *confirmButtons(QDialog *dlg, const QString &okCaption, QPushButton **okButton)
{
    auto *buttons = new QHBoxLayout;
    *okButton = new QPushButton(okCaption, dlg);
    (*okButton)->setObjectName(QStringLiteral("Command1(0)"));
    (*okButton)->setDefault(true);
    auto *cancelButton = new QPushButton(QStringLiteral("キャンセル"), dlg);
    cancelButton->setObjectName(QStringLiteral("Command1(1)"));
    buttons->addStretch();
    buttons->addWidget(*okButton);
    buttons->addWidget(cancelButton);
    QObject::connect(*okButton, &QPushButton::clicked, dlg, &QDialog::accept);
    QObject::connect(cancelButton, &QPushButton::clicked, dlg, &QDialog::reject);
    return buttons;
}
} // namespace

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

QString QtPrompter::textForm(const TextForm &form, bool *ok)
{
    QDialog dlg(m_parent);
    dlg.setObjectName(form.name);
    dlg.setWindowTitle(form.title);
    auto *layout = new QVBoxLayout(&dlg);
    auto *label = new QLabel(form.label, &dlg);
    label->setObjectName(QStringLiteral("Label1"));
    layout->addWidget(label);
    auto *edit = new QLineEdit(form.initial, &dlg);
    edit->setObjectName(QStringLiteral("Text1"));
    layout->addWidget(edit);
    QPushButton *okButton = nullptr;
    layout->addLayout(
        confirmButtons(&dlg, form.okCaption.isEmpty() ? QStringLiteral("OK") : form.okCaption, &okButton));
    const bool accepted = dlg.exec() == QDialog::Accepted;
    if (ok)
        *ok = accepted;
    return accepted ? edit->text() : QString();
}

int QtPrompter::choose(const ChoiceForm &form, bool *ok)
{
    QDialog dlg(m_parent);
    dlg.setObjectName(form.name);
    dlg.setWindowTitle(form.title);
    auto *layout = new QVBoxLayout(&dlg);
    if (!form.label.isEmpty())
        layout->addWidget(new QLabel(form.label, &dlg));
    auto *combo = new QComboBox(&dlg);
    combo->setObjectName(QStringLiteral("Combo1"));
    combo->addItems(form.items);
    combo->setPlaceholderText(form.placeholder);
    combo->setCurrentIndex(-1);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    combo->setMinimumContentsLength(16);
    layout->addWidget(combo);
    QPushButton *okButton = nullptr;
    layout->addLayout(confirmButtons(&dlg, QStringLiteral("OK"), &okButton));
    const bool accepted = dlg.exec() == QDialog::Accepted;
    if (ok)
        *ok = accepted;
    return accepted ? combo->currentIndex() : -1;
}

} // namespace tolvane::shell
