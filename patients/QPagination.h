// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSize>
#include <QString>
#include <QVector>
#include <QWidget>

class QHBoxLayout;
class QPixmap;
class QPushButton;

/// A row of page buttons with a fixed number of slots. Pages are counted from 1.
class QPagination : public QWidget
{
    Q_OBJECT

signals:
    /// The user has chosen a page.
    void onPageChange(int currentPage);

public:
    /// `height` is the least height of the row in pixels.
    QPagination(QWidget* parent, int height);

    int getCurrentPage() const { return currentPage; }
    /// Size of every button; takes effect at show().
    void setButtonsSize(int width, int height);
    void setButtonsSize(const QSize& size);
    void setNextButton(const QPixmap& pixmap, const QString& text, const QSize& size);
    void setNextButton(const QString& text, const QSize& size);
    void setPreviousButton(const QPixmap& pixmap, const QString& text, const QSize& size);
    /// Sets the next button, as its users expect; show() overwrites the texts in any case.
    void setPreviousButton(const QString& text, const QSize& size);
    /// A page beyond the last means the first. The row keeps its windowing until the next click.
    void setCurrentPage(int page);
    /// Goes to page 1. The row stays as it is until it is built again.
    void setTotalPages(int pages);
    /// Style sheet of every button; takes effect at show(). The widget's own style sheet is left alone.
    void setStyleSheet(const QString& text);
    /// Builds the row anew for a changed number of pages, without a signal.
    void updateTotalPages(int pages);
    /// Builds the row. The widget itself becomes visible with its parent.
    void show();
    void applyStyleSheet(QPushButton* button) const;
    void applySize(QPushButton* button) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void makeStepButtons();
    void clearRow();
    /// From left to right.
    void orderTabs();
    void calculate();
    void setButton(int index, int page);
    void go(int page);
    void choose(int property);

    int rowHeight;
    int totalPages = 0;
    int previousPage = -1;
    int currentPage = 1;
    int buttonCount;
    int buttonWidth = -1;
    int buttonHeight = -1;
    QPushButton* previousButton = nullptr;
    QPushButton* nextButton = nullptr;
    QVector<QPushButton*> pageButtons;
    QString buttonStyleSheet;
    QHBoxLayout* row;
};
