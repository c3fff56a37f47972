// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHeaderView>

/// A header with a check box in section 0, which therefore never sorts.
class CheckBoxHeader : public QHeaderView
{
    Q_OBJECT

signals:
    /// The user has clicked the box; setIsChecked() says nothing.
    void checkBoxClicked(bool state);

public:
    explicit CheckBoxHeader(Qt::Orientation orientation, QWidget* parent = nullptr);

    void setIsChecked(bool state);
    void redrawCheckBox();
    /// What a click on the box does.
    void clickCheckBox();

protected:
    void paintSection(QPainter* painter, const QRect& rect, int logicalIndex) const override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    int sectionAt(const QMouseEvent* event) const;

    bool isChecked = false;
};
