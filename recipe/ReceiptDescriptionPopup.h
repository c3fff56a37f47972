// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QPoint>
#include <QRect>
#include <QString>
#include <QTimer>
#include <QWidget>

class QFrame;
class QLabel;
class QPlainTextEdit;

/// A bubble with the title and the description of a marker, whose arrow points at a table cell on its right. It never
/// takes the focus; it stays while the cursor is over the cell or the bubble, which it polls, and hides itself then.
class ReceiptDescriptionPopup : public QWidget
{
    Q_OBJECT

public:
    explicit ReceiptDescriptionPopup(QWidget* parent);

    /// The table row that the popup was opened for; -1 before the first.
    int row() const { return shownRow; }
    void setRow(int value) { shownRow = value; }
    /// The point on the screen that the arrow points at: the middle of the cell's left edge.
    QPoint targetPosition() const { return position; }
    void setTargetPosition(const QPoint& point) { position = point; }
    /// The cell on the screen.
    QRect targetRect() const { return cell; }
    void setTargetRect(const QRect& rectangle) { cell = rectangle; }
    QString title() const;
    void setTitle(const QString& value);
    QString text() const;
    void setText(const QString& value);
    /// The next look at the cursor comes 500 ms from now.
    void resetTimer();
    /// Stays when shown, wherever the cursor is, until letGo() or the next show().
    void stay();
    /// Hides it if it stays; one that follows the cursor goes by itself.
    void letGo();
    /// Scrolls the text by so many of its heights.
    void scrollPages(int pages);

public slots:
    /// Moves beside the target position and shows; hides QWidget's own.
    void show();

protected:
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void buildBackground();
    void dismiss();
    void tick();

    int shownRow = -1;
    QPoint position;
    QRect cell;
    QImage backgroundImage;
    QLabel* background;
    QLabel* iconLabel;
    QLabel* titleLabel;
    QPlainTextEdit* textViewer;
    QFrame* line;
    QTimer timer;
    bool staying = false;
};
