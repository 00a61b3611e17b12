// Form1: registration handlers.
#include <QTableView>

#include "browser/filelistmodel.h"
#include "registration/bulkregistration.h"
#include "registration/ui/registrationprogress.h"
#include "shell/ui/form1.h"

namespace tolvane::shell {

void Form1::SetupRegistration() { }

// "RecAll": registers (or synchronises) the files of the shown folder. The list fr is the truth
// about the folder's contents; nothing on screen changes afterwards.
void Form1::RegisterShownFolder()
{
    auto *files = fr ? qobject_cast<browser::FileListModel *>(fr->model()) : nullptr;
    const QStringList names = files ? files->names() : QStringList();
    registration::ui::RegistrationProgress progress(this, int(names.size()));
    registration::RegisterShownFolder(m_catalog.db(), m_prompter, CurrentFolder, names, ModeNo, progress.callback());
}

} // namespace tolvane::shell
