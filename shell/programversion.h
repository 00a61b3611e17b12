// The program's version as the build gives it: the CMake project version (major, minor and
// revision). Pure functions.
#pragma once

#include <QString>
#include <QVersionNumber>

namespace tolvane::shell {

QVersionNumber programVersion();

// The version dialog's label: "Version " + major.minor.revision ("Version 0.1.0").
QString versionLabelText();

} // namespace tolvane::shell
