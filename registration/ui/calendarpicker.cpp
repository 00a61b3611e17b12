#include "registration/ui/calendarpicker.h"

#include "registration/history.h"

#include <QCalendarWidget>
#include <QDate>

namespace tolvane::registration {

CalendarPicker::CalendarPicker(QCalendarWidget *calendar, QObject *parent) : QObject(parent), m_calendar(calendar)
{
    if (m_calendar->objectName().isEmpty())
        m_calendar->setObjectName(QStringLiteral("Calendar"));
    m_calendar->setSelectedDate(QDate::currentDate());
    m_calendar->setGridVisible(true);
    m_calendar->hide();
    connect(m_calendar, &QCalendarWidget::clicked, this, &CalendarPicker::pick);
    connect(m_calendar, &QCalendarWidget::activated, this, &CalendarPicker::pick);
}

void CalendarPicker::showInFront()
{
    m_calendar->show();
    m_calendar->raise();
}

void CalendarPicker::hide()
{
    m_calendar->hide();
}

bool CalendarPicker::isShown() const
{
    return !m_calendar->isHidden();
}

void CalendarPicker::pick(const QDate &date)
{
    if (!date.isValid() || m_calendar->isHidden())
        return;
    hide();
    emit datePicked(calendarDateText(date));
}

} // namespace tolvane::registration
