#include "shell/programversion.h"

namespace tolvane::shell {

QVersionNumber programVersion()
{
    return QVersionNumber(TOLVANE_VERSION_MAJOR, TOLVANE_VERSION_MINOR, TOLVANE_VERSION_REVISION);
}

QString versionLabelText()
{
    const QVersionNumber v = programVersion();
    return QStringLiteral("Version %1.%2.%3").arg(v.majorVersion()).arg(v.minorVersion()).arg(v.microVersion());
}

} // namespace tolvane::shell
