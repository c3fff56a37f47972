// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ReceiptDescriptionPopup.h"

#include "model/picture.h"

#include <QCursor>
#include <QEvent>
#include <QFrame>
#include <QGraphicsDropShadowEffect>
#include <QLabel>
#include <QPainter>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QVBoxLayout>

namespace {

constexpr int pollInterval = 500;
/// Room for the shadow on every side of the drawn bubble.
constexpr int shadowMargin = 8;

} // namespace

ReceiptDescriptionPopup::ReceiptDescriptionPopup(QWidget* parent)
    : QWidget(parent)
    , background(new QLabel(this))
    , iconLabel(new QLabel(this))
    , titleLabel(new QLabel(this))
    , textViewer(new QPlainTextEdit(this))
    , line(new QFrame(this))
    , timer(this)
{
    resize(512, 200);
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setMinimumWidth(512);
    setMaximumWidth(512);
    setMaximumHeight(256);

    auto* const shadow = new QGraphicsDropShadowEffect(background);
    shadow->setBlurRadius(32);
    shadow->setColor(QColor(0, 0, 0, 30));
    shadow->setOffset(4, 4);
    background->setGraphicsEffect(shadow);

    iconLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    iconLabel->setPixmap(picture(QStringLiteral(":/images/notes-popup.png")));
    titleLabel->setObjectName(QStringLiteral("titleLabel"));
    titleLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    titleLabel->setWordWrap(true);
    titleLabel->setTextFormat(Qt::PlainText);
    line->setObjectName(QStringLiteral("line"));
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    textViewer->setObjectName(QStringLiteral("textViewer"));
    textViewer->setReadOnly(true);
    textViewer->setMaximumHeight(90);

    auto* const top = new QHBoxLayout;
    top->setContentsMargins(0, 0, 0, 8);
    top->addWidget(iconLabel);
    top->addWidget(titleLabel, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(32, 32, 40, 40);
    layout->setSpacing(4);
    layout->addLayout(top);
    layout->addWidget(line);
    layout->addWidget(textViewer, 1);

    // The first show() is placed by the background's corner, before any resize event has come.
    buildBackground();
    connect(&timer, &QTimer::timeout, this, &ReceiptDescriptionPopup::tick);
}

QString ReceiptDescriptionPopup::title() const
{
    return titleLabel->text();
}

void ReceiptDescriptionPopup::setTitle(const QString& value)
{
    titleLabel->setText(value);
}

QString ReceiptDescriptionPopup::text() const
{
    return textViewer->toPlainText();
}

void ReceiptDescriptionPopup::setText(const QString& value)
{
    textViewer->setPlainText(value);
}

void ReceiptDescriptionPopup::resetTimer()
{
    timer.setInterval(pollInterval);
    timer.start();
}

void ReceiptDescriptionPopup::stay()
{
    timer.stop();
    staying = true;
}

void ReceiptDescriptionPopup::letGo()
{
    if (staying) {
        dismiss();
    }
}

void ReceiptDescriptionPopup::show()
{
    staying = false;
    move(position.x() - width() + background->x(), position.y() - height() / 2 + background->y());
    resetTimer();
    QWidget::show();
}

void ReceiptDescriptionPopup::leaveEvent(QEvent* event)
{
    resetTimer();
    QWidget::leaveEvent(event);
}

void ReceiptDescriptionPopup::resizeEvent(QResizeEvent* event)
{
    buildBackground();
    QWidget::resizeEvent(event);
}

void ReceiptDescriptionPopup::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::ActivationChange && !isActiveWindow()) {
        dismiss();
    }
    QWidget::changeEvent(event);
}

void ReceiptDescriptionPopup::buildBackground()
{
    background->setGeometry(
        QRect(QPoint(shadowMargin, shadowMargin), QPoint(width() - shadowMargin - 1, height() - shadowMargin - 1)));
    backgroundImage = QImage(background->size(), QImage::Format_ARGB32_Premultiplied);
    backgroundImage.fill(0);
    const int w = backgroundImage.width();
    const int h = backgroundImage.height();
    const QColor border(0x7c, 0xa9, 0xde);
    const QColor body(0xf3, 0xff, 0xfd);

    QPainter painter(&backgroundImage);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(border, 2.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.setBrush(body);
    painter.drawRoundedRect(QRectF(1.0, 1.0, w - 10, h - 10), 3.0, 3.0, Qt::AbsoluteSize);

    const int c = (h - 9) / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(border);
    painter.drawPolygon(QPolygon({QPoint(w - 10, c - 8), QPoint(w - 2, c), QPoint(w - 10, c + 8)}));
    // The same triangle shifted to the left opens the border where the arrow joins the body.
    painter.setBrush(body);
    painter.drawPolygon(QPolygon({QPoint(w - 13, c - 8), QPoint(w - 5, c), QPoint(w - 13, c + 8)}));
    painter.end();

    background->setPixmap(QPixmap::fromImage(backgroundImage, Qt::ColorOnly));
}

void ReceiptDescriptionPopup::dismiss()
{
    timer.stop();
    staying = false;
    hide();
}

void ReceiptDescriptionPopup::scrollPages(int pages)
{
    QScrollBar* const bar = textViewer->verticalScrollBar();
    bar->setValue(bar->value() + pages * bar->pageStep());
}

void ReceiptDescriptionPopup::tick()
{
    const QPoint cursor = QCursor::pos();
    const QRect bubble = geometry().adjusted(background->x(), background->y(), -background->x(), -background->y());
    if (!bubble.contains(cursor) && !cell.contains(cursor)) {
        dismiss();
    }
}

#include "moc_ReceiptDescriptionPopup.cpp"
