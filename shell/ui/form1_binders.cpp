// Form1: binder handlers.
#include "shell/modes.h"
#include "shell/ui/form1.h"

namespace tolvane::shell {

// Connects the signals of fg3.
void Form1::SetupBinders() { }

// Binder browsing, file reordering and detaching: binder list on the left, its files on the right.
void Form1::EnterBinderContentsPanel()
{
    ShowLayout(BinderListLayout(BinderOperation));
    ShowLeftPane(3);
    UpdateLayout4();
    // Browse 106, reorder files 100, detach 105.
    if (const auto code = binderStatusCode(BinderOperation))
        ShowModeStatus(*code);
}

// Binder creation, deletion, renaming and reordering.
void Form1::EnterBinderMaintenance()
{
    ShowLayout(BinderListLayout(BinderOperation));
    ShowLeftPane(3);
    UpdateLayout4();
}

// "BackTo" in a binder's files: shows the binder panel again without a new query.
void Form1::RestoreBinderPanel() { }

// "Prev"/"Next" over the result list or the files of a binder.
void Form1::StepResultFile(bool next)
{
    Q_UNUSED(next);
}

// "Rec2Binder": files the shown file into a binder.
void Form1::Rec2Binder() { }

// "up"/"down": moves the selected row.
void Form1::MoveListRow(bool up)
{
    Q_UNUSED(up);
}

// "reg": saves the new order.
void Form1::SaveNewOrder() { }

// "del": deletes the selected binder (BinderOperation 2) or detaches the selected file (21).
void Form1::DeleteOrDetach() { }

} // namespace tolvane::shell
