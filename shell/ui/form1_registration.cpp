// Form1: registration handlers.
#include "shell/ui/form1.h"

namespace tolvane::shell {

void Form1::SetupRegistration()
{
}

// "RecAll": registers (or synchronises) the files of the shown folder.
void Form1::RegisterShownFolder()
{
}

} // namespace tolvane::shell
