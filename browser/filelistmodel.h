// FileListModel: the data of the file list `fr`: the files of one folder as read from the disk,
// with three columns (name, size in KB, modification date and time) and per-row colours for the
// current-file highlight. Model rows are the file rows; the grid's heading row 0 is the header,
// so the grid row of the file at model row i is i + 1 (the procedures below count in grid rows).
// GUI thread only.
#pragma once

#include <QAbstractTableModel>
#include <QColor>
#include <QDateTime>
#include <QList>

namespace tolvane::browser {

struct ListedFile {
    QString name; // as the file system gives it
    qint64 size = -1; // bytes; -1 when the length could not be read
    QDateTime modified; // invalid when the date could not be read; UTC or local (lists give UTC)
};

class FileListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { NameColumn = 0, SizeColumn = 1, DateColumn = 2, ColumnCount = 3 };

    explicit FileListModel(QObject *parent = nullptr);

    // Headings of the three columns ("ファイル名", "サイズﾞ KB", "更新日時").
    static QStringList headings();
    // Column 1's text for a length in bytes: KB with thousands separators and at most one
    // decimal ("#,##0.#": 1536 -> "1.5", 1048576 -> "1,024", 100 -> "0.1"). Empty for -1.
    static QString formatSizeKB(qint64 bytes);
    // Column 2's text for a modification time, in local time ("yyyy/MM/dd HH:mm:ss").
    static QString formatDateTime(const QDateTime &dt);

    // Grid row count including the heading row (1 when no file is listed).
    int rows() const { return int(m_files.size()) + 1; }
    // Back to the heading row only.
    void clear();
    void setFiles(QList<ListedFile> files);
    const QList<ListedFile> &files() const { return m_files; }
    // Text of column 0 at a grid row (1..rows()-1); empty outside.
    QString name(int gridRow) const;
    // Column 0 of every file row, in list order.
    QStringList names() const;

    // Back and text colour of columns 0 to 2 of a grid row; ignored outside the file rows.
    void setRowColors(int gridRow, const QColor &back, const QColor &text);
    // Every row back to the view's default colours.
    void clearRowColors();
    QColor rowBackColor(int gridRow) const;
    QColor rowTextColor(int gridRow) const;

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    struct RowColors {
        QColor back;
        QColor text;
    };
    QList<ListedFile> m_files;
    QList<RowColors> m_colors; // parallel to m_files; invalid colours = the view's default
};

} // namespace tolvane::browser
