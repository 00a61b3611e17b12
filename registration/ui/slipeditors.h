// Small helpers shared by the slip and history grids. GUI thread only.
#pragma once

#include <QAbstractItemDelegate>
#include <QAbstractItemView>
#include <QFont>
#include <QHeaderView>
#include <QLineEdit>
#include <QTableView>
#include <QWidget>

#include "platform/apptitle.h"
#include "platform/prompter.h"

namespace tolvane::registration {

// Screen pixels of a length in twips (1440 per inch) at the widget's logical resolution.
inline int twipsToPixels(const QWidget *w, int twips)
{
    return (twips * w->logicalDpiX() + 720) / 1440;
}

// The cell editors open in view: they are the visible direct children of its viewport.
inline QList<QWidget *> openEditors(const QAbstractItemView *view)
{
    QList<QWidget *> out;
    const auto children = view->viewport()->findChildren<QWidget *>(Qt::FindDirectChildrenOnly);
    for (QWidget *w : children)
        if (!w->isHidden())
            out.append(w);
    return out;
}

// A cell editor for a field of at most limit characters that says so: the limit stands in its
// empty box and its tool tip, and text that goes beyond it (a long paste) is cut to the limit
// with a warning naming both lengths, never silently.
inline void limitLineEditor(QLineEdit *line, int limit, const QString &field, Prompter &prompter)
{
    const QString hint = QStringLiteral("%1（%2文字まで）").arg(field).arg(limit);
    line->setPlaceholderText(hint);
    line->setToolTip(hint);
    QObject::connect(line, &QLineEdit::textChanged, line, [line, limit, field, &prompter](const QString &text) {
        if (text.size() <= limit)
            return;
        {
            const QSignalBlocker quiet(line);
            line->setText(text.left(limit));
        }
        prompter.inform(appTitle(),
            QStringLiteral("%1は%2文字までです。　入力された%3文字のうち、%4文字目から後は入りません。")
                .arg(field)
                .arg(limit)
                .arg(text.size())
                .arg(limit + 1),
            Prompter::Icon::Warning);
    });
}

// Ends any open edit in view, keeping what was typed (what the view does when an editor loses
// the focus).
inline void commitOpenEditors(QAbstractItemView *view)
{
    for (QWidget *editor : openEditors(view)) {
        emit view->itemDelegate()->commitData(editor);
        emit view->itemDelegate()->closeEditor(editor, QAbstractItemDelegate::NoHint);
    }
}

// Gives a grid view its model and delegate and the look both grids share: no headers, one cell
// selected at a time, wrapped text. A view without a name gets defaultName.
inline void setUpGridView(
    QTableView *view, const QString &defaultName, QAbstractItemModel *model, QAbstractItemDelegate *delegate)
{
    if (view->objectName().isEmpty())
        view->setObjectName(defaultName);
    view->setModel(model);
    view->setItemDelegate(delegate);
    view->horizontalHeader()->hide();
    view->verticalHeader()->hide();
    view->setSelectionMode(QAbstractItemView::SingleSelection);
    view->setSelectionBehavior(QAbstractItemView::SelectItems);
    view->setWordWrap(true);
}

// Sets the point size of view's font and returns the bold face of the new font.
inline QFont setViewPointSize(QAbstractItemView *view, int points)
{
    QFont f = view->font();
    f.setPointSize(points);
    view->setFont(f);
    QFont bold = f;
    bold.setBold(true);
    return bold;
}

// Fits the two text columns of view to their contents, each no narrower than its minimum
// (in twips), then the rows to their wrapped text.
inline void fitTwoColumns(QTableView *view, int first, int firstMinTwips, int second, int secondMinTwips)
{
    view->resizeColumnToContents(first);
    view->resizeColumnToContents(second);
    view->setColumnWidth(first, qMax(view->columnWidth(first), twipsToPixels(view, firstMinTwips)));
    view->setColumnWidth(second, qMax(view->columnWidth(second), twipsToPixels(view, secondMinTwips)));
    view->resizeRowsToContents();
}

} // namespace tolvane::registration
