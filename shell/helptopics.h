// The user manual: HTML pages in the folder "manual" beside the program, one page per mode and
// dialog. Which page a help context id opens is this table.
#pragma once

#include <span>

#include <QString>

namespace tolvane::shell {

// The manual's folder beside the program, and its first page (contents and start screen).
inline constexpr const char *kManualFolder = "manual";
inline constexpr const char *kManualFirstPage = "index.html";

struct HelpTopic {
    int contextId;
    const char *page; // file name in the manual's folder, with an optional "#anchor"
};

// Every help context id the program sets, with its page.
std::span<const HelpTopic> helpTopics();

// The page of contextId; the first page for 0 and for an id without a page of its own.
QString helpPage(int contextId);

} // namespace tolvane::shell
