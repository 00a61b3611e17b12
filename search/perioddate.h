// Period bounds as people type them. Pure functions; thread-safe.
#pragma once

#include <optional>

#include <QDateTime>

namespace tolvane::search {

enum class PeriodBound { Start, End };

// Understands a typed date, optionally followed by a time of day:
//   2009/12/31, 2009-12-31, 2009.12.31, 20091231, 2009年12月31日 (year first, month and day
//   with or without a leading zero), 12/31/2009 and 12-31-2009 (month first; day first when
//   the first number cannot be a month), each optionally followed by 13:45, 13:45:10, 1:45 PM
//   or 午後1:45. Full-width digits count as digits; surrounding blanks and "#" are ignored.
// Without a time, a Start bound is the beginning of the day and an End bound its last
// millisecond, so that both ends of a period are inclusive. Returns nullopt for anything else,
// including impossible dates (2009/02/30).
std::optional<QDateTime> parsePeriodBound(const QString &text, PeriodBound bound);

// How a listed date is offered: "2009/12/31", with " 13:45:10" when it has a time of day.
QString formatListedDate(const QDateTime &date);

} // namespace tolvane::search
