#include "shell/helptopics.h"

#include <algorithm>
#include <array>

#include "shell/modes.h"

namespace tolvane::shell {

namespace {
constexpr std::array kTopics {
    HelpTopic { Help::StartUp, "index.html" },
    HelpTopic { Help::CatalogOpened, "catalog.html" },
    HelpTopic { Help::FileShow, "fileshow.html" },
    HelpTopic { Help::FileShown, "fileshow.html#shown" },
    HelpTopic { Help::Record, "record.html" },
    HelpTopic { Help::RecordShown, "slip.html" },
    HelpTopic { Help::FolderSearch, "search-folder.html" },
    HelpTopic { Help::FileSearch, "search-file.html" },
    HelpTopic { Help::ClassSearch, "search-class.html" },
    HelpTopic { Help::PeriodSearch, "search-period.html" },
    HelpTopic { Help::KeywordSearch, "search-keyword.html" },
    HelpTopic { Help::BinderBrowse, "binder-browse.html" },
    HelpTopic { Help::BinderCreate, "binder-create.html" },
    HelpTopic { Help::BinderDelete, "binder-delete.html" },
    HelpTopic { Help::BinderRename, "binder-rename.html" },
    HelpTopic { Help::BinderSort, "binder-sort.html" },
    HelpTopic { Help::FileSort, "binder-filesort.html" },
    HelpTopic { Help::FileDetach, "binder-detach.html" },
    HelpTopic { Help::ClassEditor, "classes.html" },
};
} // namespace

std::span<const HelpTopic> helpTopics()
{
    return kTopics;
}

QString helpPage(int contextId)
{
    const auto it = std::ranges::find(kTopics, contextId, &HelpTopic::contextId);
    return QString::fromLatin1(it != kTopics.end() ? it->page : kManualFirstPage);
}

} // namespace tolvane::shell
