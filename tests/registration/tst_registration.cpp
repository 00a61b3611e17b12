// Registration and synchronisation of real folders into a real catalogue file. (Cancelling
// through the progress dialog is checked in the main window, tst_form1browser.)
#include <cstdio>

#include <QTemporaryDir>
#include <QTest>

#include "../browser/testfolders.h"
#include "../jet/failingfileaccess.h"
#include "browser/filelist.h"
#include "catalog/records.h"
#include "catalog/schema.h"
#include "platform/jet/recordset.h"
#include "registration/bulkregistration.h"
#include "registration/pathrecords.h"
#include "support/scriptedprompter.h"

using namespace tolvane;
using namespace tolvane::catalog;
using namespace tolvane::registration;
using tolvane::test::ScriptedPrompter;

namespace {

const QDateTime kDay1(QDate(2023, 4, 10), QTime(9, 15, 0));
const QDateTime kDay1Later(QDate(2023, 4, 10), QTime(17, 40, 30));
const QDateTime kDay2(QDate(2024, 1, 5), QTime(8, 0, 0));

struct FileRow {
    QString name;
    QDateTime date;
    int pnID;
};

QList<FileRow> fileRows(jet::Database *db)
{
    QList<FileRow> out;
    for (const jet::Row &r : test::tableRows(db, catalog::kFileAtrTable))
        out.append({ r[FName].toString(), r[FDate].toDateTime(), r[FPnID].toInt() });
    return out;
}

QStringList sortedNames(const QList<FileRow> &rows)
{
    QStringList names;
    for (const FileRow &r : rows)
        names.append(r.name);
    names.sort();
    return names;
}

// A file created under exactly these bytes (QFile would encode its name first).
bool createRawFile(const QByteArray &path)
{
    std::FILE *f = std::fopen(path.constData(), "wb");
    return f && std::fclose(f) == 0;
}

} // namespace

class TestRegistration : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_tmp;
    std::unique_ptr<jet::Database> m_db;
    QString m_folder;

    // Lists the test folder as the file list does.
    QStringList listed() const
    {
        browser::FileListModel fr;
        browser::ListFolderFiles(fr, m_folder);
        return fr.names();
    }

    RegistrationOutcome run(ScriptedPrompter &prompter, const QString &folder, const QStringList &names)
    {
        return RegisterShownFolder(*m_db, prompter, folder, names);
    }

    RegistrationOutcome runYes(ScriptedPrompter &prompter)
    {
        prompter.planAnswer(Prompter::Answer::Yes);
        return run(prompter, m_folder, listed());
    }

private slots:
    void init()
    {
        QVERIFY(m_tmp.isValid());
        const QString dir = m_tmp.path() + QStringLiteral("/") + QString::fromLatin1(QTest::currentTestFunction());
        QVERIFY(QDir().mkpath(dir + QStringLiteral("/docs")));
        m_db = test::newCatalogue(dir);
        QVERIFY(m_db);
        m_folder = QDir::toNativeSeparators(dir + QStringLiteral("/docs"));
    }

    void cleanup() { m_db.reset(); }

    // Folders by their exact path text, and the file a FILE_ATR record names.
    void pathAndRecordLookups()
    {
        QCOMPARE(GetPathID(*m_db, QStringLiteral("C:\\Docs")).status().code(), Status::Code::NotFound); // empty
        QVERIFY(AddPathName(*m_db, QStringLiteral("C:\\docs"), 3));
        QVERIFY(AddPathName(*m_db, QStringLiteral("D:\\報告書\\O'Neil"), 4));
        QCOMPARE(*GetPathID(*m_db, QStringLiteral("C:\\docs")), 3);
        // Exact text only: no case folding, no separator trimming.
        QCOMPARE(GetPathID(*m_db, QStringLiteral("C:\\Docs")).status().code(), Status::Code::NotFound);
        QCOMPARE(GetPathID(*m_db, QStringLiteral("C:\\docs\\")).status().code(), Status::Code::NotFound);
        QCOMPARE(*GetPathID(*m_db, QStringLiteral("D:\\報告書\\O'Neil")), 4);
        QCOMPARE(*GetPathName(*m_db, 4), QStringLiteral("D:\\報告書\\O'Neil"));
        QCOMPARE(GetPathName(*m_db, 99).status().code(), Status::Code::NotFound);

        jet::Row row = { QStringLiteral("朝霧　凪"), QStringLiteral("O'Neil.doc"),
            QDateTime(QDate(2022, 3, 4), QTime()), QString(), 3, 0, QString() };
        QVERIFY(m_db->insertRow(catalog::kFileAtrTable, row));
        row[FName] = QStringLiteral("orphan.doc");
        row[FPnID] = 8;
        QVERIFY(m_db->insertRow(catalog::kFileAtrTable, row));
        auto rs = m_db->openTable(catalog::kFileAtrTable);
        QVERIFY(rs);
        const Result<RecordFile> file = TakeRecordFile(*m_db, **rs);
        QVERIFY2(file, qPrintable(file.status().toString()));
        QCOMPARE(file->folder, QStringLiteral("C:\\docs"));
        QCOMPARE(file->name, QStringLiteral("O'Neil.doc"));
        QCOMPARE(file->date, QStringLiteral("2022-03-04"));
        // A record whose pnID names no folder: the catalogue is inconsistent.
        (*rs)->moveNext();
        QCOMPARE(TakeRecordFile(*m_db, **rs).status().code(), Status::Code::NotFound);
        (*rs)->moveNext();
        QCOMPARE(TakeRecordFile(*m_db, **rs).status().code(), Status::Code::InvalidArgument); // no record
    }

    void firstRegistration()
    {
        const QStringList names
            = { QStringLiteral("O'Neil.doc"), QStringLiteral("報告書　第1版.txt"), QStringLiteral("plan.pdf") };
        for (const QString &n : names)
            QVERIFY(test::writeFile(m_folder + QLatin1Char('/') + n, 10, kDay1));

        ScriptedPrompter prompter;
        const RegistrationOutcome out = runYes(prompter);
        QCOMPARE(out.kind, RegistrationOutcome::Kind::Registered);
        QCOMPARE(out.added, 3);

        const auto msgs = prompter.messages();
        QCOMPARE(msgs.size(), 2);
        QCOMPARE(msgs[0].title, QStringLiteral("Almaren Tolvane"));
        QCOMPARE(msgs[0].icon, Prompter::Icon::Question);
        QCOMPARE(msgs[0].buttons, Prompter::Buttons::YesNo);
        QCOMPARE(msgs[0].text,
            QStringLiteral("表示中の全ファイル情報をデータベースに登録します。\r\n"
                           "登録済みファイルは二重登録しません。　追加ファイルはデータベースに追加登録し、"
                           "削除ファイルは登録から抹消します。\r\n"
                           "データベースのファイル更新年月日は最新日付に訂正します。\r\n実行しますか？"));
        QCOMPARE(msgs[1].icon, Prompter::Icon::Information);
        QCOMPARE(msgs[1].text, QStringLiteral("3件のファイル情報を登録しました。"));

        // The folder got the first pnID drawn from the counters, exactly as shown.
        const auto paths = test::tableRows(m_db.get(), catalog::kPathNameTable);
        QCOMPARE(paths.size(), 1);
        QCOMPARE(paths[0][PPnID].toInt(), 1);
        QCOMPARE(paths[0][PName].toString(), m_folder);
        QCOMPARE(test::tableRows(m_db.get(), catalog::kIdNoTable).at(0).at(0).toInt(), 1);

        // Each file: empty class, keywords and colour, history 0, the day of its modification.
        const auto rows = test::tableRows(m_db.get(), catalog::kFileAtrTable);
        QCOMPARE(rows.size(), 3);
        QStringList got;
        for (const jet::Row &r : rows) {
            got.append(r[FName].toString());
            // Empty texts, not nulls.
            QCOMPARE(
                (QVariantList { r[FClass], r[FKStr], r[FBackC] }), (QVariantList { QString(), QString(), QString() }));
            QCOMPARE(r[FHsID].toInt(), 0);
            QCOMPARE(r[FPnID].toInt(), 1);
            QCOMPARE(r[FDate].toDateTime(), QDateTime(kDay1.date(), QTime(0, 0)));
        }
        got.sort();
        QStringList want = names;
        want.sort();
        QCOMPARE(got, want);
    }

    void resynchronisation()
    {
        const QString f = m_folder + QLatin1Char('/');
        for (const char *n : { "keep.txt", "gone.txt", "same-day.txt", "other-day.txt", "O'Neil.doc", "議事録.rtf" })
            QVERIFY(test::writeFile(f + QString::fromUtf8(n), 5, kDay1));
        {
            ScriptedPrompter prompter;
            QCOMPARE(runYes(prompter).added, 6);
        }
        {
            // Unchanged folder: nothing to do.
            ScriptedPrompter prompter;
            const RegistrationOutcome out = runYes(prompter);
            QCOMPARE(out.kind, RegistrationOutcome::Kind::Synchronised);
            QCOMPARE(prompter.lastMessage().text,
                QStringLiteral("全ファイル登録済みです。 削除ファイル数：0　追加ファイル数：0　日付訂正数：0"));
            QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Information);
        }

        QVERIFY(QFile::remove(f + QStringLiteral("gone.txt")));
        QVERIFY(test::writeFile(f + QStringLiteral("new one.txt"), 1, kDay2));
        QVERIFY(test::writeFile(f + QStringLiteral("新規'資料.txt"), 1, kDay2));
        QVERIFY(test::setModified(f + QStringLiteral("same-day.txt"), kDay1Later));
        QVERIFY(test::setModified(f + QStringLiteral("other-day.txt"), kDay2));

        ScriptedPrompter prompter;
        const RegistrationOutcome out = runYes(prompter);
        QCOMPARE(out.kind, RegistrationOutcome::Kind::Synchronised);
        QCOMPARE(prompter.lastMessage().text,
            QStringLiteral("全ファイル登録済みです。 削除ファイル数：1　追加ファイル数：2　日付訂正数：1"));

        const QList<FileRow> rows = fileRows(m_db.get());
        QCOMPARE(sortedNames(rows),
            QStringList({ QStringLiteral("O'Neil.doc"), QStringLiteral("keep.txt"), QStringLiteral("new one.txt"),
                QStringLiteral("other-day.txt"), QStringLiteral("same-day.txt"), QStringLiteral("新規'資料.txt"),
                QStringLiteral("議事録.rtf") }));
        for (const FileRow &r : rows) {
            QCOMPARE(r.pnID, 1);
            const bool day2 = r.name == QLatin1String("other-day.txt") || r.name.startsWith(QLatin1String("new"))
                || r.name.startsWith(QStringLiteral("新規"));
            QCOMPARE(r.date, QDateTime(day2 ? kDay2.date() : kDay1.date(), QTime(0, 0)));
        }
        QCOMPARE(test::tableRows(m_db.get(), catalog::kPathNameTable).size(), 1);

        // A file still listed but gone from the disk before the command keeps its row and date.
        const QStringList shown = listed();
        QVERIFY(QFile::remove(f + QStringLiteral("keep.txt")));
        ScriptedPrompter again;
        again.planAnswer(Prompter::Answer::Yes);
        QCOMPARE(run(again, m_folder, shown).kind, RegistrationOutcome::Kind::Synchronised);
        QCOMPARE(again.lastMessage().text,
            QStringLiteral("全ファイル登録済みです。 削除ファイル数：0　追加ファイル数：0　日付訂正数：0"));
        QCOMPARE(fileRows(m_db.get()).size(), rows.size());
        for (const FileRow &r : fileRows(m_db.get()))
            if (r.name == QLatin1String("keep.txt"))
                QCOMPARE(r.date, QDateTime(kDay1.date(), QTime(0, 0)));
    }

    void namesDifferingInCase()
    {
        QVERIFY(test::writeFile(m_folder + QStringLiteral("/Case.txt"), 1, kDay1));
        QVERIFY(test::writeFile(m_folder + QStringLiteral("/case.txt"), 1, kDay2));
        if (listed().size() != 2)
            QSKIP("the disk does not tell case apart");
        {
            ScriptedPrompter prompter;
            QCOMPARE(runYes(prompter).added, 2);
        }
        ScriptedPrompter prompter;
        QCOMPARE(runYes(prompter).kind, RegistrationOutcome::Kind::Synchronised);
        QCOMPARE(prompter.lastMessage().text,
            QStringLiteral("全ファイル登録済みです。 削除ファイル数：0　追加ファイル数：0　日付訂正数：0"));
        for (const FileRow &r : fileRows(m_db.get()))
            QCOMPARE(r.date.date(), r.name == QLatin1String("Case.txt") ? kDay1.date() : kDay2.date());
    }

    // A name listed more than once names one row: added once, its date corrected once.
    void aNameListedTwiceIsOneRow()
    {
        QVERIFY(test::writeFile(m_folder + QStringLiteral("/a.txt"), 1, kDay1));
        QVERIFY(test::writeFile(m_folder + QStringLiteral("/b.txt"), 1, kDay1));
        const QStringList twice { QStringLiteral("a.txt"), QStringLiteral("b.txt"), QStringLiteral("a.txt") };
        {
            ScriptedPrompter prompter;
            prompter.planAnswer(Prompter::Answer::Yes);
            QCOMPARE(run(prompter, m_folder, twice).added, 2);
        }
        QVERIFY(test::writeFile(m_folder + QStringLiteral("/a.txt"), 1, kDay2));
        ScriptedPrompter prompter;
        prompter.planAnswer(Prompter::Answer::Yes);
        const RegistrationOutcome out = run(prompter, m_folder, twice + twice);
        QCOMPARE(out.added, 0);
        QCOMPARE(out.dateFixed, 1);
        const QList<FileRow> rows = fileRows(m_db.get());
        QCOMPARE(rows.size(), 2);
        for (const FileRow &r : rows)
            QCOMPARE(r.date.date(), r.name == QLatin1String("a.txt") ? kDay2.date() : kDay1.date());
    }

    void refusalsChangeNothing()
    {
        QVERIFY(test::writeFile(m_folder + QStringLiteral("/a.txt"), 1, kDay1));
        {
            // An empty list is refused before anything is asked.
            ScriptedPrompter prompter;
            const RegistrationOutcome out = run(prompter, m_folder, {});
            QCOMPARE(out.kind, RegistrationOutcome::Kind::Refused);
            QCOMPARE(prompter.messages().size(), 1);
            QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Warning);
            QCOMPARE(prompter.lastMessage().text,
                QStringLiteral("ファイルが存在しません。　左パネルからフォルダを選択してください。"));
        }
        {
            ScriptedPrompter prompter;
            prompter.planAnswer(Prompter::Answer::No);
            QCOMPARE(run(prompter, m_folder, listed()).kind, RegistrationOutcome::Kind::Declined);
            QCOMPARE(prompter.messages().size(), 1);
        }
        QVERIFY(test::tableRows(m_db.get(), catalog::kPathNameTable).isEmpty());
        QVERIFY(test::tableRows(m_db.get(), catalog::kFileAtrTable).isEmpty());
        QCOMPARE(test::tableRows(m_db.get(), catalog::kIdNoTable).at(0).at(0).toInt(), 0);
    }

    // What the catalogue cannot store (a name over 120 characters) or the program cannot read (a
    // name in another encoding) is left out and named; the rest is registered and synchronised,
    // deletions included.
    void filesThatCannotBeStoredAreNamedAndSkipped()
    {
        QVERIFY(test::writeFile(m_folder + QStringLiteral("/a.txt"), 1, kDay1));
        const QString longName = QString(121, QLatin1Char('n'));
        QVERIFY(test::writeFile(m_folder + QLatin1Char('/') + longName, 1, kDay1));
        QStringList unreadable;
#if defined(Q_OS_UNIX)
        // Latin-1 and Shift_JIS bytes, as old Windows machines left them on shares.
        for (const QByteArray &raw : { QByteArray("caf\xe9.txt"), QByteArray("\x95\x5c.txt") }) {
            QVERIFY(createRawFile(QFile::encodeName(m_folder) + '/' + raw));
            unreadable.append(QString::fromUtf8(raw));
        }
        unreadable.sort();
#endif
        const QString crlf = QStringLiteral("\r\n");
        auto skippedText = [&](int count) {
            QString text = QStringLiteral("次の%1件のファイルは登録できませんでした。").arg(count);
            for (const QString &name : unreadable)
                text += crlf + QStringLiteral("　") + name
                    + QStringLiteral("（ファイル名の文字コードを読み取れません）");
            return text + crlf + QStringLiteral("　") + longName
                + QStringLiteral("（ファイル名が長すぎます（120文字まで））");
        };
        {
            ScriptedPrompter prompter;
            const RegistrationOutcome out = runYes(prompter);
            QCOMPARE(out.kind, RegistrationOutcome::Kind::Registered);
            QCOMPARE(out.added, 1);
            QCOMPARE(prompter.messages().size(), 3);
            QCOMPARE(prompter.messages()[1].text, QStringLiteral("1件のファイル情報を登録しました。"));
            QCOMPARE(prompter.lastMessage().icon, Prompter::Icon::Warning);
            QCOMPARE(prompter.lastMessage().text, skippedText(int(unreadable.size()) + 1));
        }
        QVERIFY(QFile::remove(m_folder + QStringLiteral("/a.txt")));
        QVERIFY(test::writeFile(m_folder + QStringLiteral("/b.txt"), 1, kDay1));
        {
            ScriptedPrompter prompter;
            const RegistrationOutcome out = runYes(prompter);
            QCOMPARE(out.kind, RegistrationOutcome::Kind::Synchronised);
            QCOMPARE(prompter.messages()[1].text,
                QStringLiteral("全ファイル登録済みです。 削除ファイル数：1　追加ファイル数：1　日付訂正数：0"));
            QCOMPARE(prompter.lastMessage().text, skippedText(int(unreadable.size()) + 1));
        }
        const QString path = m_db->path();
        m_db.reset();
        auto db = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
        QVERIFY(db);
        QCOMPARE(sortedNames(fileRows(db->get())), QStringList { QStringLiteral("b.txt") });

        // Twenty-one names and more: twenty are named, then the count of the others.
        QList<SkippedFile> many;
        for (int i = 0; i < 23; ++i)
            many.append({ QStringLiteral("f%1").arg(i), QStringLiteral("r") });
        const QStringList lines = skippedFilesMessage(many).split(crlf);
        QCOMPARE(lines.size(), 22);
        QCOMPARE(lines.first(), QStringLiteral("次の23件のファイルは登録できませんでした。"));
        QCOMPARE(lines.last(), QStringLiteral("ほか3件"));
    }

#if defined(Q_OS_UNIX)
    void folderOfOnlyUnreadableNames()
    {
        QVERIFY(createRawFile(QFile::encodeName(m_folder) + "/caf\xe9.txt"));
        QVERIFY(listed().isEmpty());
        ScriptedPrompter prompter;
        QCOMPARE(run(prompter, m_folder, listed()).kind, RegistrationOutcome::Kind::Refused);
        QCOMPARE(prompter.lastMessage().text,
            QStringLiteral("次の1件のファイルは登録できませんでした。\r\n　caf\uFFFD."
                           "txt（ファイル名の文字コードを読み取れません）"));
        QVERIFY(test::tableRows(m_db.get(), catalog::kPathNameTable).isEmpty());
    }
#endif

    // A full disk: the failure says so and how much is missing, the catalogue is as it was, and
    // no journal is left beside it; found before anything is written, or in the middle of it.
    void fullDisk()
    {
        for (int i = 0; i < 40; ++i)
            QVERIFY(test::writeFile(m_folder + QStringLiteral("/f%1.txt").arg(i), 1, kDay1));
        const QString path = m_db->path();
        m_db.reset();
        using Fault = test::FailingFileAccess::Fault;
        for (const bool checkedFirst : { true, false }) {
            test::FailingFileAccess files;
            auto db = jet::Database::open(files, path);
            QVERIFY(db);
            if (checkedFirst)
                files.setFreeSpace(4096);
            else
                files.arm(Fault::DiskFull, 1);
            ScriptedPrompter prompter;
            prompter.planAnswer(Prompter::Answer::Yes);
            QCOMPARE(RegisterShownFolder(**db, prompter, m_folder, listed()).kind, RegistrationOutcome::Kind::Failed);
            const QStringList lines = prompter.lastMessage().text.split(QStringLiteral("\r\n"));
            QCOMPARE(lines.size(), 2);
            QCOMPARE(lines[0], QStringLiteral("DB登録に失敗しました。　RecordFILE_ATR"));
            QVERIFY2(
                lines[1].startsWith(QStringLiteral("ディスクの空き容量が足りません。　あと約 ")), qPrintable(lines[1]));
            QVERIFY(!QFile::exists(path + QStringLiteral("-journal")));
        }
        auto db = jet::Database::open(path, jet::Database::OpenMode::ReadOnly);
        QVERIFY(db);
        QVERIFY(fileRows(db->get()).isEmpty());
        QVERIFY(test::tableRows(db->get(), catalog::kPathNameTable).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestRegistration)
#include "tst_registration.moc"
