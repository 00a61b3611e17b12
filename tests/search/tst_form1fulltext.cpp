// The full-text searches and the phrase marks in the real main window, offscreen, on a real
// catalogue and real files: the word dialog's captions and refusals, the result list search
// with its two end messages and both answers to its question, the folder list search colouring
// fr, and "WordSeek" marking every occurrence left to right.
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextEdit>

#include "../shell/form1harness.h"
#include "browser/filelistmodel.h"
#include "browser/ui/browsercontroller.h"
#include "fulltextfixtures.h"
#include "search/fulltext.h"
#include "search/resultlistmodel.h"
#include "search/ui/searchcontroller.h"
#include "searchcatalogue.h"
#include "shell/ui/form1.h"

using namespace tolvane;
using namespace Qt::StringLiterals;
using Icon = Prompter::Icon;
using Answer = Prompter::Answer;

namespace {

struct Harness : test::Form1Harness {
    QTableView *fs() const { return w->findChild<QTableView *>(u"fs"_s); }
    QTableView *fr() const { return w->findChild<QTableView *>(u"fr"_s); }
    browser::FileListModel *frModel() const { return qobject_cast<browser::FileListModel *>(fr()->model()); }
    QTextEdit *mData() const { return w->findChild<QTextEdit *>(u"mData"_s); }
    // The file names of the rows of fs left visible.
    QStringList visibleRows() const
    {
        QStringList names;
        for (int r = 0; r < fs()->model()->rowCount(); ++r) {
            if (!fs()->isRowHidden(r))
                names << fs()->model()->index(r, 2).data().toString();
        }
        return names;
    }
    QList<int> redRows() const
    {
        QList<int> rows;
        for (int r = 1; r <= frModel()->rowCount(); ++r) {
            if (frModel()->rowBackColor(r) == QColor(192, 0, 0))
                rows << r;
            else if (frModel()->rowBackColor(r) != QColor(Qt::white))
                rows << -r;
        }
        return rows;
    }
};

} // namespace

class TestForm1FullText : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void resultListSearch();
    void folderListSearch();
    void wordSeekMarks();

private:
    QTemporaryDir m_dir;
    QString m_docs;
    QString m_catalog;
};

void TestForm1FullText::initTestCase()
{
    QStandardPaths::setTestModeEnabled(true);
    QVERIFY(m_dir.isValid());
    m_docs = m_dir.filePath(u"書類"_s);
    QVERIFY(QDir().mkpath(m_docs));
    QVERIFY(!test::writeDocuments(m_docs).isEmpty());
    QVERIFY(test::writeFile(QDir(m_docs).filePath(u"memo.txt"_s), "nothing of note"));
    QVERIFY(test::writeFile(QDir(m_docs).filePath(u"words.txt"_s), "Aaa ab ｱﾌﾞ aB\nアブ AB"));
    m_catalog = m_dir.filePath(u"fulltext.mdb"_s);
    test::SearchCatalogue cat;
    QVERIFY(cat.create(m_catalog, m_docs, m_dir.filePath(u"gone"_s)));
    const QDateTime day(QDate(2024, 1, 1), QTime(0, 0));
    for (const char *name : { "minutes.docx", "memo.txt", "scan.pdf", "Notes.TXT", "mail.eml" })
        cat.addFile({ u""_s, QString::fromLatin1(name), day, u"k"_s, 1, 0, u""_s });
    cat.addFile({ u""_s, u"notes.txt"_s, day, u"k"_s, 2, 0, u""_s }); // its folder is gone
}

void TestForm1FullText::resultListSearch()
{
    Harness h;
    h.prompter.planOpenFile(m_catalog);
    QVERIFY(h.click(u"DBopen"_s));
    QVERIFY(h.click(u"Search"_s));
    QVERIFY(h.click(u"DBKeyword"_s));
    QTest::keyClicks(h.w->findChild<QLineEdit *>(u"Text1(0)"_s), u"k"_s);
    QVERIFY(h.click(u"DurSeek"_s));
    const QStringList all { u"minutes.docx"_s, u"memo.txt"_s, u"scan.pdf"_s, u"Notes.TXT"_s, u"mail.eml"_s,
        u"notes.txt"_s };
    QCOMPARE(h.visibleRows(), all);
    h.prompter.clear();

    // An empty word is refused and asked again; "No" keeps the hits alone on the list.
    h.prompter.planText(QString());
    h.prompter.planAnswer(Answer::Ok);
    h.prompter.planText(u"  議事録 "_s);
    h.prompter.planAnswer(Answer::No);
    QVERIFY(h.click(u"FullTextSearchDB"_s));
    const auto &calls = h.prompter.calls();
    QCOMPARE(calls.size(), 4);
    QCOMPARE(calls.at(0).kind, u"text"_s);
    QCOMPARE(calls.at(0).title, u"全文検索"_s);
    QCOMPARE(calls.at(0).text, search::form5Prompt(search::SearchPurpose::ResultList));
    QVERIFY(calls.at(0).text.endsWith(u"検索語句が見つからなかった場合、その行は隠されます。"_s));
    QCOMPARE(calls.at(1).text, u"検索語句を記入して下さい。\u3000ワイルドカードは使用できません。"_s);
    QCOMPARE(calls.at(1).icon, Icon::Warning);
    QCOMPARE(calls.at(3).icon, Icon::Question);
    QCOMPARE(calls.at(3).buttons, Prompter::Buttons::YesNo);
    QVERIFY(calls.at(3).text.startsWith(u"検索結果一覧を再表示しますか？\u3000各個表示しますか？\n"_s));
    // Notes.TXT is no searchable spelling; notes.txt's folder is gone.
    QCOMPARE(h.visibleRows(), (QStringList { u"minutes.docx"_s, u"scan.pdf"_s, u"mail.eml"_s }));
    QCOMPARE(h.w->search().hiddenRowCount(), 4);
    QCOMPARE(h.w->search().fullTextWord(), u"議事録"_s);

    // "Yes" shows the whole list again.
    h.prompter.clear();
    h.prompter.planText(u"ａｂｃ"_s);
    h.prompter.planAnswer(Answer::Yes);
    QVERIFY(h.click(u"FullTextSearchDB"_s));
    QCOMPARE(h.visibleRows(), all);

    // Nothing found: the two-line message without an icon, then the whole list.
    h.prompter.clear();
    h.prompter.planText(u"見当たらない語"_s);
    QVERIFY(h.click(u"FullTextSearchDB"_s));
    QCOMPARE(h.prompter.lastMessage().text,
        u"「見当たらない語」を含むファイルは見つかりませんでした。\nOKボタンで検索結果一覧を再表示します。"_s);
    QCOMPARE(h.prompter.lastMessage().icon, Icon::None);
    QCOMPARE(h.visibleRows(), all);
    QCOMPARE(h.w->search().hiddenRowCount(), 7);

    // Cancelling the dialog searches nothing and says nothing.
    h.prompter.clear();
    h.prompter.planText(QString(), false);
    QVERIFY(h.click(u"FullTextSearchDB"_s));
    QCOMPARE(h.prompter.messages().size(), 0);
    QCOMPARE(h.visibleRows(), all);
    // The index lives beside the catalogue.
    QVERIFY(QFile::exists(m_catalog + u".fulltext"_s));
}

void TestForm1FullText::folderListSearch()
{
    Harness h;
    QVERIFY(h.click(u"StartShowFile"_s));
    h.prompter.planFolder(m_docs);
    QVERIFY(h.click(u"View"_s));
    const QStringList names = h.w->browser().names();
    h.prompter.clear();
    h.prompter.planText(u"①番"_s);
    QVERIFY(h.click(u"FullTextSearch"_s));
    QCOMPARE(h.prompter.calls().at(0).title, u"全文検索"_s);
    QVERIFY(
        h.prompter.calls().at(0).text.endsWith(u"検索語句が見つかったファイルは左パネル・ファイル名が反転します。"_s));
    QCOMPARE(h.prompter.messages().size(), 0);
    // Every generated document holds the needle; memo.txt and words.txt do not.
    const QList<int> red = h.redRows();
    QCOMPARE(red.size(), names.size() - 2);
    for (int row : red) {
        QVERIFY(row > 0);
        QCOMPARE(h.frModel()->rowTextColor(row), QColor(Qt::white));
        QVERIFY(names.at(row - 1) != u"memo.txt"_s && names.at(row - 1) != u"words.txt"_s);
    }

    // A word in no file: the message, and every row white again.
    h.prompter.clear();
    h.prompter.planText(u"どこにもない"_s);
    QVERIFY(h.click(u"FullTextSearch"_s));
    QCOMPARE(h.prompter.lastMessage().text, u"「どこにもない」を含むファイルは見つかりませんでした。"_s);
    QCOMPARE(h.prompter.lastMessage().icon, Icon::Information);
    QVERIFY(h.redRows().isEmpty());
}

void TestForm1FullText::wordSeekMarks()
{
    Harness h;
    QVERIFY(h.click(u"StartShowFile"_s));
    h.prompter.planFolder(m_docs);
    QVERIFY(h.click(u"View"_s));
    QTableView *fr = h.fr();
    auto show = [&](const QString &name) {
        const int row = int(h.w->browser().names().indexOf(name)) + 1;
        QVERIFY(row > 0);
        QTest::mouseClick(fr->viewport(), Qt::LeftButton, {}, fr->visualRect(fr->model()->index(row - 1, 0)).center());
    };
    // The extracted-text route reads the same text the search does (through the worker).
    show(u"mail.eml"_s);
    QVERIFY(h.mData()->toPlainText().startsWith(u"件名の確認\n"_s));
    h.prompter.planText(u"髙橋"_s);
    QVERIFY(h.click(u"WordSeek"_s));
    QCOMPARE(h.mData()->textCursor().selectedText(), u"髙橋"_s);

    show(u"words.txt"_s);
    QCOMPARE(h.mData()->toPlainText(), u"Aaa ab ｱﾌﾞ aB\nアブ AB"_s);
    const int size = QTextCursor(h.mData()->document()).charFormat().font().pointSize();

    h.prompter.clear();
    h.prompter.planText(u"ＡＢ"_s);
    QVERIFY(h.click(u"WordSeek"_s));
    QCOMPARE(h.prompter.calls().at(0).title, u"ファイル内語句検索"_s);
    QCOMPARE(h.prompter.messages().size(), 0);
    // Marked: "ab", "aB", "AB"; "Aaa" holds no "ab". Each mark bold, black on yellow, own size.
    const QString text = h.mData()->toPlainText();
    QList<int> marked;
    for (int i = 0; i < text.size(); ++i) {
        QTextCursor c(h.mData()->document());
        c.setPosition(i + 1);
        const QTextCharFormat f = c.charFormat();
        if (f.background().color() == QColor(255, 255, 0)) {
            QCOMPARE(f.fontWeight(), int(QFont::Bold));
            QCOMPARE(f.foreground().color(), QColor(Qt::black));
            QCOMPARE(f.font().pointSize(), size);
            marked << i;
        }
    }
    QCOMPARE(marked, (QList<int> { 4, 5, 11, 12, 17, 18 }));
    QCOMPARE(h.mData()->textCursor().selectedText(), u"AB"_s); // left on the last one

    // Voicing written apart matches the composed form; a run of three marks one pair.
    h.prompter.clear();
    h.prompter.planText(u"アブ"_s);
    QVERIFY(h.click(u"WordSeek"_s));
    QCOMPARE(h.mData()->textCursor().selectedText(), u"アブ"_s);
    QTextCursor half(h.mData()->document());
    half.setPosition(text.indexOf(u"ﾌﾞ"_s) + 1);
    QCOMPARE(half.charFormat().background().color(), QColor(255, 255, 0));
    h.prompter.clear();
    h.prompter.planText(u"aa"_s);
    QVERIFY(h.click(u"WordSeek"_s));
    QCOMPARE(h.mData()->textCursor().selectionStart(), 0);
    QCOMPARE(h.mData()->textCursor().selectionEnd(), 2);

    h.prompter.clear();
    h.prompter.planText(u"zz"_s);
    QVERIFY(h.click(u"WordSeek"_s));
    QCOMPARE(h.prompter.lastMessage().text, u"「zz」は見つかりませんでした。"_s);
    QCOMPARE(h.prompter.lastMessage().icon, Icon::Information);
}

QTEST_MAIN(TestForm1FullText)
#include "tst_form1fulltext.moc"
