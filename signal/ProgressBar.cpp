// SPDX-License-Identifier: GPL-3.0-or-later
#include "signal/ProgressBar.h"

#include <QColor>
#include <QMatrix>
#include <QPainter>

ProgressBar::ProgressBar(QByteArray* samples, QWidget* parent)
    : QWidget(parent)
    , bytes(samples)
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setMinimumHeight(50);
}

void ProgressBar::reset()
{
    length = 0;
    position = 0;
    update();
    clearTrace();
}

void ProgressBar::bufferLengthChanged(qlonglong newLength)
{
    length = newLength;
    position = 0;
    clearTrace();
    repaint();
}

void ProgressBar::recordPositionChanged(qlonglong recordPosition)
{
    if (recordPosition < 0 || recordPosition >= length) {
        return;
    }
    position = recordPosition;
    repaint();
}

void ProgressBar::paintEvent(QPaintEvent*)
{
    if (position == 0) {
        return;
    }
    QPainter painter(this);
    const int w = width();
    const int h = height();

    const int right = static_cast<int>(static_cast<double>(position) / static_cast<double>(length) * w);
    painter.fillRect(QRect(QPoint(0, 0), QPoint(right, h - 1)), QColor(234, 239, 242));

    QT_WARNING_PUSH
    QT_WARNING_DISABLE_DEPRECATED
    const QMatrix matrix(w / static_cast<double>(length), 0, 0, -h / 255.0, 0, h * 0.5);
    // Only what came since the last paint is mapped and drawn: a repaint for each audio buffer has to be cheap.
    points.reserve(bytes->size());
    for (int i = points.size(); i < bytes->size(); ++i) {
        points.append(matrix.map(QPoint(i, static_cast<uchar>(bytes->at(i)) - 127)));
    }
    QT_WARNING_POP

    drawTrace();
    painter.drawPixmap(0, 0, trace);
}

void ProgressBar::drawTrace()
{
    const QSize needed = size() * devicePixelRatioF();
    if (trace.size() != needed) {
        trace = QPixmap(needed);
        trace.setDevicePixelRatio(devicePixelRatioF());
        trace.fill(Qt::transparent);
        drawn = 0;
    }
    const int lines = points.size() / 2 - drawn;
    if (lines > 0) {
        QPainter painter(&trace);
        painter.setPen(QColor(13, 180, 149));
        painter.drawLines(points.constData() + 2 * drawn, lines);
        drawn += lines;
    }
}

void ProgressBar::clearTrace()
{
    points.clear();
    trace = QPixmap();
    drawn = 0;
}

#include "moc_ProgressBar.cpp"
