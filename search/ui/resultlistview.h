// ResultListView: the result list grid `fs` showing a ResultListModel: follows the model's hidden
// columns and text size, reports the row and column of each mouse press. GUI thread only.
#pragma once

#include <QTableView>

#include "search/resultlistmodel.h"

namespace tolvane::search::ui {

class ResultListView : public QTableView {
    Q_OBJECT
public:
    // The view does not own model; model must outlive it.
    explicit ResultListView(ResultListModel *model, QWidget *parent = nullptr);

    ResultListModel *resultModel() const { return m_model; }

    // Grid row (0 heading, 1.. data, -1 outside) and column under a point of the viewport.
    int gridRowAt(const QPoint &viewportPos) const;

signals:
    // A mouse press: grid row and column under the mouse (-1 outside).
    void rowPressed(int gridRow, int col);
    void rowDoubleClicked(int gridRow, int col);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;

private:
    void applyFontSize(int points);
    void syncColumns();

    ResultListModel *m_model;
};

} // namespace tolvane::search::ui
