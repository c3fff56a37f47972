// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QObject>

class QFrame;
class QHeaderView;
class QTableView;

/// Lets the keyboard into a table: a header that sorts becomes a stop of its own before the table, where the arrow keys
/// choose a section and Space or Return clicks it; and a table that the Tab key enters shows its current row.
class TableKeys : public QObject
{
    Q_OBJECT

public:
    /// To be made once the table has its header and its model; goes with the table.
    explicit TableKeys(QTableView* table);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeHeaderAStop();
    void updateStop();
    /// Takes the key if it means something to the header.
    bool headerKey(int key);
    /// Goes by so many visible sections; stays where there is none.
    void step(int by);
    void choose(int newSection);
    void click();
    void mark();

    QTableView* table;
    QHeaderView* header;
    QFrame* frame = nullptr;
    /// The section, by its logical index, that the keys are at.
    int section = 0;
};
