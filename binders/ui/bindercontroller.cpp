#include "binders/ui/bindercontroller.h"

#include <QTableView>

namespace tolvane::binders::ui {

BinderController::BinderController(QWidget *frame, QObject *parent)
    : QObject(parent)
    , m_list(new QTableView(frame))
{
    m_list->setObjectName(QStringLiteral("fg3"));
    m_list->hide();
}

void BinderController::RestoreBinderPanel() { }

void BinderController::Rec2Binder() { }

void BinderController::MoveListRow(bool up)
{
    Q_UNUSED(up);
}

void BinderController::SaveNewOrder() { }

void BinderController::DeleteOrDetach() { }

} // namespace tolvane::binders::ui
