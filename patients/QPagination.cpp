// SPDX-License-Identifier: GPL-3.0-or-later
#include "patients/QPagination.h"

#include <QHBoxLayout>
#include <QIcon>
#include <QPainter>
#include <QPixmap>
#include <QPointer>
#include <QPushButton>
#include <QStyleOption>

namespace {

constexpr int slotCount = 7;
constexpr int rightGap = -1;
constexpr int leftGap = -2;
/// How many pages a click on a gap goes.
constexpr int gapStep = 3;
constexpr auto pageProperty = "page";

void setStepButton(QPushButton* button, const QPixmap& pixmap, const QString& text, const QSize& size)
{
    button->setText(text);
    button->setIcon(QIcon(pixmap));
    button->setMinimumSize(size);
    button->setMaximumSize(size);
}

QSpacerItem* makeSpacer()
{
    return new QSpacerItem(20, 20, QSizePolicy::Expanding, QSizePolicy::Preferred);
}

} // namespace

QPagination::QPagination(QWidget* parent, int height)
    : QWidget(parent)
    , rowHeight(height)
    , buttonCount(slotCount)
    , row(new QHBoxLayout(this))
{
    row->setContentsMargins(6, 0, 6, 0);
    row->setSpacing(0);
    setMinimumHeight(rowHeight);
    makeStepButtons();
}

void QPagination::setButtonsSize(int width, int height)
{
    buttonWidth = width;
    buttonHeight = height;
}

void QPagination::setButtonsSize(const QSize& size)
{
    setButtonsSize(size.width(), size.height());
}

void QPagination::setNextButton(const QPixmap& pixmap, const QString& text, const QSize& size)
{
    setStepButton(nextButton, pixmap, text, size);
}

void QPagination::setNextButton(const QString& text, const QSize& size)
{
    setNextButton(QPixmap(), text, size);
}

void QPagination::setPreviousButton(const QPixmap& pixmap, const QString& text, const QSize& size)
{
    setStepButton(previousButton, pixmap, text, size);
}

void QPagination::setPreviousButton(const QString& text, const QSize& size)
{
    setNextButton(QPixmap(), text, size);
}

void QPagination::setCurrentPage(int page)
{
    currentPage = page > totalPages ? 1 : page;
}

void QPagination::setTotalPages(int pages)
{
    totalPages = pages;
    currentPage = 1;
}

void QPagination::setStyleSheet(const QString& text)
{
    buttonStyleSheet = text;
}

void QPagination::updateTotalPages(int pages)
{
    if (pages == totalPages) {
        return;
    }
    totalPages = pages;
    if (currentPage > pages) {
        currentPage = 1;
    }
    previousPage = -1;
    buttonCount = slotCount;
    // New buttons come last among all those of the window.
    QWidget* before = previousButton->previousInFocusChain();
    while (before != previousButton && (isAncestorOf(before) || (before->focusPolicy() & Qt::TabFocus) == 0)) {
        before = before->previousInFocusChain();
    }
    const QPointer<QWidget> anchor(before == previousButton ? nullptr : before);
    clearRow();
    delete previousButton;
    delete nextButton;
    makeStepButtons();
    if (anchor != nullptr) {
        setTabOrder(anchor, previousButton);
    }
    show();
}

void QPagination::show()
{
    // A row that was already built would otherwise stand there twice.
    clearRow();

    row->addItem(makeSpacer());
    previousButton->setText(QStringLiteral("<"));
    previousButton->setAccessibleName(tr("Text.previousPage"));
    nextButton->setText(QStringLiteral(">"));
    nextButton->setAccessibleName(tr("Text.nextPage"));
    for (QPushButton* const button : {previousButton, nextButton}) {
        button->setEnabled(false);
        button->hide();
        applyStyleSheet(button);
        applySize(button);
    }
    if (totalPages >= 2) {
        previousButton->show();
        row->addWidget(previousButton);
    }
    if (buttonCount > totalPages) {
        buttonCount = totalPages;
    }
    for (int i = 0; i < buttonCount; ++i) {
        auto* button = new QPushButton(this);
        button->setMinimumSize(24, 24);
        applyStyleSheet(button);
        applySize(button);
        connect(button, &QPushButton::clicked, this,
                [this, button] { choose(button->property(pageProperty).toInt()); });
        row->addWidget(button);
        pageButtons.append(button);

        int page = i < 5 ? i + 1 : rightGap;
        if (totalPages <= buttonCount) {
            page = i + 1;
        } else if (i == 0) {
            page = 1;
        } else if (i == buttonCount - 1) {
            page = totalPages;
        }
        setButton(i, page);
    }
    if (totalPages > 1) {
        nextButton->show();
        nextButton->setEnabled(true);
        row->addWidget(nextButton);
    }
    row->addItem(makeSpacer());
    orderTabs();
    calculate();
}

void QPagination::orderTabs()
{
    QWidget* last = previousButton;
    for (QPushButton* const button : qAsConst(pageButtons)) {
        setTabOrder(last, button);
        last = button;
    }
    setTabOrder(last, nextButton);
}

void QPagination::applyStyleSheet(QPushButton* button) const
{
    if (!buttonStyleSheet.isEmpty()) {
        button->setStyleSheet(buttonStyleSheet);
    }
}

void QPagination::applySize(QPushButton* button) const
{
    if (buttonWidth >= 0 && buttonHeight >= 0) {
        button->setMinimumSize(buttonWidth, buttonHeight);
        button->setMaximumSize(buttonWidth, buttonHeight);
    }
}

void QPagination::paintEvent(QPaintEvent*)
{
    QStyleOption option;
    option.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}

void QPagination::makeStepButtons()
{
    previousButton = new QPushButton(this);
    nextButton = new QPushButton(this);
    for (QPushButton* const button : {previousButton, nextButton}) {
        button->setEnabled(false);
        button->hide();
    }
    connect(previousButton, &QPushButton::clicked, this, [this] { go(currentPage - 1); });
    connect(nextButton, &QPushButton::clicked, this, [this] { go(currentPage + 1); });
}

void QPagination::clearRow()
{
    while (QLayoutItem* const item = row->takeAt(0)) {
        delete item;
    }
    qDeleteAll(pageButtons);
    pageButtons.clear();
}

void QPagination::calculate()
{
    const int count = pageButtons.size();
    if (totalPages > count && count == slotCount) {
        const bool startIsNear = currentPage < 5;
        if (startIsNear) {
            for (int i = 1; i <= 4; ++i) {
                setButton(i, i + 1);
            }
        } else {
            setButton(1, leftGap);
        }
        if (totalPages - currentPage > 3) {
            setButton(5, rightGap);
            if (!startIsNear) {
                setButton(2, currentPage - 1);
                setButton(3, currentPage);
                setButton(4, currentPage + 1);
            }
        } else {
            for (int i = 2; i <= 5; ++i) {
                setButton(i, totalPages - 6 + i);
            }
        }
    }
    for (QPushButton* const button : qAsConst(pageButtons)) {
        button->setEnabled(button->property(pageProperty).toInt() != currentPage);
    }
    previousButton->setEnabled(currentPage >= 2);
    nextButton->setEnabled(currentPage < totalPages);
}

void QPagination::setButton(int index, int page)
{
    QPushButton* const button = pageButtons.at(index);
    button->setProperty(pageProperty, page);
    button->setText(page < 1 ? QStringLiteral("...") : QString::number(page));
}

void QPagination::go(int page)
{
    previousPage = currentPage;
    currentPage = page;
    calculate();
    emit onPageChange(currentPage);
}

void QPagination::choose(int property)
{
    switch (property) {
    case leftGap:
        go(qMax(currentPage - gapStep, 1));
        break;
    case rightGap:
        // In this form no number of pages can overflow.
        go(currentPage > totalPages - gapStep ? totalPages : currentPage + gapStep);
        break;
    default:
        go(qMin(property, totalPages));
        break;
    }
}

#include "moc_QPagination.cpp"
