// Small helpers shared by the slip and history grids. GUI thread only.
#pragma once

#include <QAbstractItemDelegate>
#include <QAbstractItemView>
#include <QWidget>

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

// Ends any open edit in view, keeping what was typed (what the view does when an editor loses
// the focus).
inline void commitOpenEditors(QAbstractItemView *view)
{
    for (QWidget *editor : openEditors(view)) {
        emit view->itemDelegate()->commitData(editor);
        emit view->itemDelegate()->closeEditor(editor, QAbstractItemDelegate::NoHint);
    }
}

} // namespace tolvane::registration
