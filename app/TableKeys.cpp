// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/TableKeys.h"

#include "patients/CheckBoxHeader.h"

#include <QFocusEvent>
#include <QFrame>
#include <QHeaderView>
#include <QKeyEvent>
#include <QTableView>

TableKeys::TableKeys(QTableView* newTable)
    : QObject(newTable)
    , table(newTable)
    , header(newTable->horizontalHeader())
{
    table->installEventFilter(this);
    // A header that is not to be seen has isHidden() from the beginning; one of a screen not yet shown has not.
    if (table->isSortingEnabled() && !header->isHidden()) {
        makeHeaderAStop();
    }
}

void TableKeys::makeHeaderAStop()
{
    frame = new QFrame(header->viewport());
    frame->setObjectName(QStringLiteral("headerFocus"));
    frame->setAttribute(Qt::WA_TransparentForMouseEvents);
    frame->hide();

    header->setFocusPolicy(Qt::TabFocus);
    QWidget* before = table->previousInFocusChain();
    while (before != table && (before == header || (before->focusPolicy() & Qt::TabFocus) == 0)) {
        before = before->previousInFocusChain();
    }
    if (before != table) {
        QWidget::setTabOrder(before, header);
    }
    QWidget::setTabOrder(header, table);

    header->installEventFilter(this);
    connect(header, &QHeaderView::sectionCountChanged, this, &TableKeys::updateStop);
    connect(header, &QHeaderView::sectionResized, this, &TableKeys::mark);
    connect(header, &QHeaderView::geometriesChanged, this, &TableKeys::mark);
    updateStop();
}

void TableKeys::updateStop()
{
    header->setFocusPolicy(header->count() > 0 ? Qt::TabFocus : Qt::NoFocus);
    choose(qMax(section, 0));
}

bool TableKeys::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == table && event->type() == QEvent::FocusIn) {
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        const bool byTab = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason;
        if (byTab && table->selectionModel() != nullptr && !table->selectionModel()->hasSelection()) {
            const QModelIndex current = table->currentIndex();
            const int first = header->logicalIndexAt(0);
            table->setCurrentIndex(current.isValid() ? current : table->model()->index(0, qMax(first, 0)));
        }
    } else if (watched == header && event->type() == QEvent::FocusIn) {
        frame->show();
        choose(section);
    } else if (watched == header && event->type() == QEvent::FocusOut) {
        frame->hide();
    } else if (watched == header && event->type() == QEvent::KeyPress) {
        return headerKey(static_cast<QKeyEvent*>(event)->key());
    }
    return QObject::eventFilter(watched, event);
}

bool TableKeys::headerKey(int key)
{
    const bool mirrored = header->isRightToLeft();
    switch (key) {
    case Qt::Key_Left:
        step(mirrored ? 1 : -1);
        return true;
    case Qt::Key_Right:
        step(mirrored ? -1 : 1);
        return true;
    case Qt::Key_Home:
        step(-header->count());
        return true;
    case Qt::Key_End:
        step(header->count());
        return true;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        click();
        return true;
    default:
        return false;
    }
}

void TableKeys::step(int by)
{
    const int direction = by < 0 ? -1 : 1;
    int left = qAbs(by);
    int found = section;
    for (int at = header->visualIndex(section) + direction; at >= 0 && at < header->count() && left > 0;
         at += direction) {
        const int logical = header->logicalIndex(at);
        if (!header->isSectionHidden(logical)) {
            found = logical;
            --left;
        }
    }
    choose(found);
}

void TableKeys::choose(int newSection)
{
    section = qBound(0, newSection, qMax(header->count() - 1, 0));
    if (header->count() > 0 && header->isSectionHidden(section)) {
        for (int at = 0; at < header->count(); ++at) {
            if (!header->isSectionHidden(header->logicalIndex(at))) {
                section = header->logicalIndex(at);
                break;
            }
        }
    }
    const QAbstractItemModel* const model = table->model();
    if (model == nullptr) {
        return;
    }
    QString name = model->headerData(section, Qt::Horizontal, Qt::AccessibleTextRole).toString();
    if (name.isEmpty()) {
        name = model->headerData(section, Qt::Horizontal, Qt::DisplayRole).toString();
    }
    header->setAccessibleName(name.isEmpty() ? table->accessibleName() : name);
    if (!header->hasFocus()) {
        return;
    }
    if (model->rowCount() > 0) {
        table->scrollTo(model->index(qMax(table->rowAt(0), 0), section));
    }
    mark();
}

void TableKeys::click()
{
    if (header->count() == 0) {
        return;
    }
    auto* const withBox = qobject_cast<CheckBoxHeader*>(header);
    if (withBox != nullptr && section == 0) {
        withBox->clickCheckBox();
        return;
    }
    const bool sameAgain = header->sortIndicatorSection() == section;
    const bool ascending = sameAgain && header->sortIndicatorOrder() == Qt::AscendingOrder;
    header->setSortIndicator(section, ascending ? Qt::DescendingOrder : Qt::AscendingOrder);
    emit header->sectionClicked(section);
}

void TableKeys::mark()
{
    if (!frame->isHidden()) {
        frame->setGeometry(header->sectionViewportPosition(section), 0, header->sectionSize(section),
                           header->viewport()->height());
    }
}

#include "moc_TableKeys.cpp"
