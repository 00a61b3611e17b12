#include "registration/ui/calendarpicker.h"

#include <QApplication>
#include <QCalendarWidget>
#include <QDate>

#include "registration/history.h"

namespace tolvane::registration {

CalendarPicker::CalendarPicker(QCalendarWidget *calendar, QObject *parent)
    : QObject(parent)
    , m_calendar(calendar)
{
    if (m_calendar->objectName().isEmpty())
        m_calendar->setObjectName(QStringLiteral("Calendar"));
    m_calendar->setSelectedDate(QDate::currentDate());
    m_calendar->setGridVisible(true);
    m_calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
    m_calendar->resize(m_calendar->sizeHint());
    m_calendar->hide();
    connect(m_calendar, &QCalendarWidget::clicked, this, &CalendarPicker::pick);
    connect(m_calendar, &QCalendarWidget::activated, this, &CalendarPicker::pick);
}

void CalendarPicker::showInFront()
{
    // Whole and inside the window, wherever the layout put it.
    m_calendar->resize(m_calendar->sizeHint());
    if (const QWidget *parent = m_calendar->parentWidget()) {
        QPoint pos = m_calendar->pos();
        pos.setX(qBound(0, pos.x(), qMax(0, parent->width() - m_calendar->width())));
        pos.setY(qBound(0, pos.y(), qMax(0, parent->height() - m_calendar->height())));
        m_calendar->move(pos);
    }
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

bool CalendarPicker::hasFocus() const
{
    const QWidget *focus = QApplication::focusWidget();
    return focus && isShown() && (focus == m_calendar || m_calendar->isAncestorOf(focus));
}

void CalendarPicker::pick(const QDate &date)
{
    if (!date.isValid() || m_calendar->isHidden())
        return;
    hide();
    emit datePicked(calendarDateText(date));
}

} // namespace tolvane::registration
