// CalendarPicker: the month calendar `Calendar` used as the date picker of the history grid.
// It starts on today, stays hidden until the date column of the history is entered, and hands
// a clicked date on as "yyyy-mm-dd" text, hiding itself again. GUI thread only.
#pragma once

#include <QObject>

class QCalendarWidget;
class QDate;

namespace tolvane::registration {

class CalendarPicker : public QObject {
    Q_OBJECT
public:
    // Takes over calendar (owned by its parent widget): sets it to today and hides it.
    explicit CalendarPicker(QCalendarWidget *calendar, QObject *parent = nullptr);

    QCalendarWidget *calendar() const { return m_calendar; }
    // Shows the calendar in front of its siblings.
    void showInFront();
    void hide();
    bool isShown() const;
    // Whether the keyboard focus is in the calendar (the user is choosing a date there).
    bool hasFocus() const;

    // What a click on date does (also used by tests): emits datePicked and hides the calendar.
    void pick(const QDate &date);

signals:
    void datePicked(const QString &dateText);

private:
    QCalendarWidget *m_calendar;
};

} // namespace tolvane::registration
