// Form1: classification editor handlers.
#include "shell/ui/form1.h"

namespace tolvane::shell {

void Form1::SetupClasses() { }

// Opens the classification and combo-box item editor.
void Form1::mAidCombo_Click() { }

} // namespace tolvane::shell
