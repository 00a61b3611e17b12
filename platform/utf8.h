// Japanese texts written in the source as UTF-8 literals. The build forbids implicit casts from
// char strings, so every such literal goes through u().
#pragma once

#include <QString>

namespace tolvane {

inline QString u(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace tolvane
