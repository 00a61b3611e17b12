// frmAbout offscreen: its title, the version the build gives, and the system-information button
// with and without a tool on the PATH.
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include "shell/ui/frmabout.h"
#include "support/scriptedprompter.h"

using namespace tolvane;

class TestFrmAbout : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void titleAndVersion()
    {
        test::ScriptedPrompter prompter;
        shell::frmAbout about(prompter);
        QCOMPARE(about.windowTitle(), QStringLiteral("Almaren Tolvaneのﾊﾞｰｼﾞｮﾝ情報"));
        QCOMPARE(about.findChild<QLabel *>(QStringLiteral("lblTitle"))->text(), QStringLiteral("Almaren Tolvane"));
        // The CMake project version, major.minor.patch.
        QCOMPARE(about.findChild<QLabel *>(QStringLiteral("lblVersion"))->text(),
            QStringLiteral("Version " TOLVANE_PROJECT_VERSION));
    }

    // The button starts the desktop's information centre found on the PATH; without one it
    // says that system information is not available.
    void systemInformation()
    {
        QTemporaryDir bin;
        QVERIFY(bin.isValid());
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(bin.path()));
        const auto restorePath = qScopeGuard([&] { qputenv("PATH", path); });
        test::ScriptedPrompter prompter;
        shell::frmAbout about(prompter);
        about.show();
        auto *sysInfo = about.findChild<QPushButton *>(QStringLiteral("cmdSysInfo"));
        QVERIFY(sysInfo);
        QTest::mouseClick(sysInfo, Qt::LeftButton);
        QCOMPARE(prompter.messages().size(), 1);
        QCOMPARE(prompter.lastMessage().title, QStringLiteral("Almaren Tolvane"));
        QCOMPARE(prompter.lastMessage().text, QStringLiteral("現時点ではｼｽﾃﾑ情報を使用できません"));

        const QString marker = bin.filePath(QStringLiteral("started"));
        QFile tool(bin.filePath(QStringLiteral("hardinfo")));
        QVERIFY(tool.open(QIODevice::WriteOnly));
        tool.write("#!/bin/sh\n: > '" + QFile::encodeName(marker) + "'\n"); // PATH holds nothing else
        tool.close();
        QVERIFY(tool.setPermissions(tool.permissions() | QFileDevice::ExeOwner));
        QTest::mouseClick(sysInfo, Qt::LeftButton);
        QTRY_VERIFY(QFile::exists(marker));
        QCOMPARE(prompter.messages().size(), 1);
    }
};

QTEST_MAIN(TestFrmAbout)
#include "tst_frmabout.moc"
