// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QPixmap>
#include <QPoint>
#include <QVector>
#include <QWidget>

/// Draws a signal while it is being recorded: the background grows with the recorded part, the trace lies over it.
class ProgressBar : public QWidget
{
    Q_OBJECT

public:
    /// The samples stay the caller's and must outlive the widget. They may grow between paints, and may only shrink
    /// together with a call of bufferLengthChanged().
    ProgressBar(QByteArray* bytes, QWidget* parent);

    /// Back to an empty drawing of no expected length.
    void reset();

public slots:
    /// Starts an empty drawing of `length` expected bytes.
    void bufferLengthChanged(qlonglong length);
    /// Bytes recorded so far. A value outside 0 to length - 1 is passed over.
    void recordPositionChanged(qlonglong recordPosition);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// Brings the picture of the trace up to date with the points.
    void drawTrace();
    void clearTrace();

    qlonglong length = 0;
    qlonglong position = 0;
    /// One mapped point a byte drawn so far; points keep the geometry they were mapped with.
    QVector<QPoint> points;
    /// The lines drawn so far, of the widget's size; null before the first.
    QPixmap trace;
    int drawn = 0;
    QByteArray* bytes;
};
