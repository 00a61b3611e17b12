// The real dialogs behind the Prompter, answered the way a user would: the message box's
// buttons, the save dialog's extension, the folder dialog and its cancel, the colour dialog.
#include <functional>

#include <QApplication>
#include <QCalendarWidget>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include "shell/browseforfolder.h"
#include "shell/ui/japaneseinterface.h"
#include "shell/ui/qtprompter.h"

using namespace tolvane;
using namespace tolvane::shell;

namespace {

// Runs act on the next modal dialog of type T once it is up.
template <class T> void whenModal(std::function<void(T *)> act)
{
    auto *timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, act] {
        if (auto *dlg = qobject_cast<T *>(QApplication::activeModalWidget())) {
            timer->stop();
            timer->deleteLater();
            act(dlg);
        }
    });
    timer->start();
}

// Types name into the file dialog's name box and accepts.
void typeAndAccept(QFileDialog *dlg, const QString &name)
{
    auto *edit = dlg->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
    QVERIFY(edit);
    edit->setText(name);
    QTest::keyClick(edit, Qt::Key_Return);
}

} // namespace

class TestQtPrompter : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        // The machine may be set to any language: the dialogs speak Japanese all the same.
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QVERIFY(InstallJapaneseInterface(*qApp));
    }

    void messageBoxAnswers_data()
    {
        QTest::addColumn<int>("buttons");
        QTest::addColumn<int>("press");
        QTest::addColumn<int>("answer");
        QTest::newRow("ok") << int(Prompter::Buttons::Ok) << int(QMessageBox::Ok) << int(Prompter::Answer::Ok);
        QTest::newRow("yes") << int(Prompter::Buttons::YesNo) << int(QMessageBox::Yes) << int(Prompter::Answer::Yes);
        QTest::newRow("no") << int(Prompter::Buttons::YesNo) << int(QMessageBox::No) << int(Prompter::Answer::No);
        QTest::newRow("cancel") << int(Prompter::Buttons::OkCancel) << int(QMessageBox::Cancel)
                                << int(Prompter::Answer::Cancel);
    }

    void messageBoxAnswers()
    {
        QFETCH(int, buttons);
        QFETCH(int, press);
        QFETCH(int, answer);
        QtPrompter prompter;
        QString seenTitle, seenText;
        QStringList seenButtons;
        QMessageBox::Icon seenIcon = QMessageBox::NoIcon;
        whenModal<QMessageBox>([&](QMessageBox *box) {
            seenTitle = box->windowTitle();
            seenText = box->text();
            seenIcon = box->icon();
            for (QAbstractButton *b : box->buttons())
                seenButtons.append(b->text().remove(QLatin1Char('&')));
            box->button(QMessageBox::StandardButton(press))->click();
        });
        const auto got = prompter.message({ QStringLiteral("Almaren Tolvane"), QString::fromUtf8("確認　します"),
            Prompter::Icon::Question, Prompter::Buttons(buttons) });
        QCOMPARE(int(got), answer);
        QCOMPARE(seenTitle, QStringLiteral("Almaren Tolvane"));
        QCOMPARE(seenText, QString::fromUtf8("確認　します"));
        QCOMPARE(seenIcon, QMessageBox::Question);
        if (buttons == int(Prompter::Buttons::YesNo)) {
            QVERIFY(seenButtons.first().startsWith(QString::fromUtf8("はい")));
            QVERIFY(seenButtons.last().startsWith(QString::fromUtf8("いいえ")));
        }
        if (buttons == int(Prompter::Buttons::OkCancel))
            QVERIFY(seenButtons.contains(QString::fromUtf8("キャンセル")));
    }

    // The calendar and dates in Japanese.
    void japaneseLocale()
    {
        QCOMPARE(QLocale().language(), QLocale::Japanese);
        QCalendarWidget calendar;
        QCOMPARE(calendar.locale().monthName(1), QString::fromUtf8("1月"));
        QCOMPARE(calendar.locale().dayName(7, QLocale::ShortFormat), QString::fromUtf8("日"));
    }

    void saveDialogAddsTheExtension_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("expected");
        QTest::newRow("bare name") << QStringLiteral("書類") << QStringLiteral("書類.mdb");
        QTest::newRow("with extension") << QStringLiteral("台帳.mdb") << QStringLiteral("台帳.mdb");
        // An existing name is returned without a replace question: the create command refuses it.
        QTest::newRow("existing file") << QStringLiteral("既存.mdb") << QStringLiteral("既存.mdb");
    }

    void saveDialogAddsTheExtension()
    {
        QFETCH(QString, typed);
        QFETCH(QString, expected);
        if (typed.startsWith(QString::fromUtf8("既存"))) {
            QFile existing(m_dir.filePath(typed));
            QVERIFY(existing.open(QIODevice::WriteOnly));
        }
        QtPrompter prompter;
        whenModal<QFileDialog>([&](QFileDialog *dlg) { typeAndAccept(dlg, typed); });
        const QString got = prompter.saveFile(
            QString::fromUtf8("データベース新規作成"), QStringLiteral("Database (*.mdb)"), m_dir.path());
        QCOMPARE(QFileInfo(got).fileName(), expected);
        QCOMPARE(QFileInfo(got).absolutePath(), QFileInfo(m_dir.path()).absoluteFilePath());
    }

    void folderChoiceAndCancel()
    {
        const QString sub = m_dir.filePath(QStringLiteral("図面"));
        QVERIFY(QDir().mkpath(sub));
        QtPrompter prompter;
        whenModal<QFileDialog>([&](QFileDialog *dlg) { typeAndAccept(dlg, sub); });
        QCOMPARE(BrowseForFolder(prompter, QString::fromUtf8("フォルダを指定してください"), m_dir.path()),
            QDir::toNativeSeparators(sub));

        whenModal<QFileDialog>([](QFileDialog *dlg) { dlg->reject(); });
        QCOMPARE(BrowseForFolder(prompter, QString::fromUtf8("フォルダを指定してください"), m_dir.path()),
            QStringLiteral("Canceled"));
    }

    void suffixOfAFilter()
    {
        QCOMPARE(QtPrompter::defaultSuffix(QStringLiteral("Database (*.mdb)")), QStringLiteral("mdb"));
        QCOMPARE(QtPrompter::defaultSuffix(QStringLiteral("All files (*)")), QString());
    }

    // The colour dialog starts on the given colour and offers the given custom colours; a
    // cancelled dialog gives no colour.
    void colourDialogOffersCustomColours()
    {
        QList<QColor> custom;
        for (int i = 0; i < QColorDialog::customCount(); ++i)
            custom.append(QColor::fromHsv(i * 20, 120, 240));
        QtPrompter prompter;
        QString seenTitle;
        whenModal<QColorDialog>([&](QColorDialog *dlg) {
            seenTitle = dlg->windowTitle();
            dlg->accept();
        });
        QCOMPARE(prompter.color(QStringLiteral("背景色"), QColor(0xFF, 0xFF, 0xC0), custom), QColor(0xFF, 0xFF, 0xC0));
        QCOMPARE(seenTitle, QStringLiteral("背景色"));
        for (int i = 0; i < QColorDialog::customCount(); ++i)
            QCOMPARE(QColorDialog::customColor(i).rgb(), custom[i].rgb());
        whenModal<QColorDialog>([](QColorDialog *dlg) { dlg->reject(); });
        QVERIFY(!prompter.color(QStringLiteral("背景色"), Qt::white, custom).isValid());
    }

    // The binder chooser and the name form as the user meets them.
    void smallForms()
    {
        QtPrompter prompter;
        const Prompter::ChoiceForm choice { QStringLiteral("バインダ選択"), QString(),
            { QStringLiteral("請求書"), QStringLiteral("見積") }, QStringLiteral("バインダ選択"),
            QStringLiteral("Form2") };
        // OK with nothing picked: confirmed, no item.
        QString shown;
        whenModal<QDialog>([&](QDialog *dlg) {
            auto *combo = dlg->findChild<QComboBox *>(QStringLiteral("Combo1"));
            shown = combo ? combo->currentText() + QLatin1Char('/') + combo->placeholderText() : QString();
            dlg->findChild<QPushButton *>(QStringLiteral("Command1(0)"))->click();
        });
        bool ok = false;
        QCOMPARE(prompter.choose(choice, &ok), -1);
        QVERIFY(ok);
        QCOMPARE(shown, QStringLiteral("/バインダ選択"));
        whenModal<QDialog>([&](QDialog *dlg) {
            dlg->findChild<QComboBox *>(QStringLiteral("Combo1"))->setCurrentIndex(1);
            dlg->findChild<QPushButton *>(QStringLiteral("Command1(0)"))->click();
        });
        QCOMPARE(prompter.choose(choice, &ok), 1);
        whenModal<QDialog>([&](QDialog *dlg) {
            dlg->findChild<QComboBox *>(QStringLiteral("Combo1"))->setCurrentIndex(1);
            dlg->findChild<QPushButton *>(QStringLiteral("Command1(1)"))->click();
        });
        QCOMPARE(prompter.choose(choice, &ok), -1);
        QVERIFY(!ok);

        // The name form carries its own confirm caption and starts with the given name.
        QString button;
        whenModal<QDialog>([&](QDialog *dlg) {
            auto *b = dlg->findChild<QPushButton *>(QStringLiteral("Command1(0)"));
            button = dlg->objectName() + QLatin1Char(':') + b->text();
            QTest::keyClicks(dlg->findChild<QLineEdit *>(QStringLiteral("Text1")), QStringLiteral("2"));
            b->click();
        });
        const QString typed = prompter.textForm(
            { QStringLiteral("バインダ名　変更"), QStringLiteral("変更後のバインダ名を記入してください。"),
                QStringLiteral("図面"), QStringLiteral("変更"), QStringLiteral("Form4") },
            &ok);
        QVERIFY(ok);
        QCOMPARE(typed, QStringLiteral("図面2"));
        QCOMPARE(button, QStringLiteral("Form4:変更"));
    }
};

QTEST_MAIN(TestQtPrompter)
#include "tst_qtprompter.moc"
