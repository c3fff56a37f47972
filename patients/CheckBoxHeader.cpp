// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/CheckBoxHeader.h"

#include <QMouseEvent>
#include <QPainter>
#include <QStyleOptionButton>

CheckBoxHeader::CheckBoxHeader(Qt::Orientation orientation, QWidget* parent)
    : QHeaderView(orientation, parent)
{
}

void CheckBoxHeader::setIsChecked(bool state)
{
    if (isChecked == state) {
        return;
    }
    isChecked = state;
    redrawCheckBox();
}

void CheckBoxHeader::redrawCheckBox()
{
    viewport()->update();
}

void CheckBoxHeader::clickCheckBox()
{
    isChecked = !isChecked;
    redrawCheckBox();
    emit checkBoxClicked(isChecked);
}

void CheckBoxHeader::paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const
{
    painter->save();
    QHeaderView::paintSection(painter, rect, logicalIndex);
    painter->restore();
    if (logicalIndex != 0) {
        return;
    }
    QStyleOptionButton box;
    box.rect = QRect(1, 3, 20, 20);
    box.state = QStyle::State_Enabled | QStyle::State_Active | QStyle::State_Off;
    if (isChecked) {
        box.state |= QStyle::State_On;
    }
    style()->drawPrimitive(QStyle::PE_IndicatorCheckBox, &box, painter);
}

void CheckBoxHeader::mousePressEvent(QMouseEvent* event)
{
    if (sectionAt(event) == 0) {
        clickCheckBox();
    } else {
        setSectionsClickable(true);
    }
    QHeaderView::mousePressEvent(event);
}

void CheckBoxHeader::mouseReleaseEvent(QMouseEvent* event)
{
    setSectionsClickable(sectionAt(event) != 0);
    QHeaderView::mouseReleaseEvent(event);
}

int CheckBoxHeader::sectionAt(const QMouseEvent* event) const
{
    return logicalIndexAt(orientation() == Qt::Horizontal ? event->x() : event->y());
}

#include "moc_CheckBoxHeader.cpp"
