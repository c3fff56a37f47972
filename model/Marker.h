// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonObject>
#include <QString>

/// One result of an analysis: a named marker of a storage with its value for a record. A plain value whose identity is
/// `getId()`.
class Marker
{
public:
    Marker() = default;
    explicit Marker(const QJsonObject& json);

    QString getId() const { return id; }
    QString getTitle() const { return title; }
    /// Null if the server says that there is none.
    QString getDescription() const { return description; }
    /// How many frequencies the marker has.
    int getAmount() const { return amount; }
    /// Match in percent.
    int getValue() const { return value; }
    bool isChecked() const { return checked; }

    void setChecked(bool mark) { checked = mark; }
    void toggle() { checked = !checked; }

private:
    QString id;
    QString title;
    QString description;
    bool checked = false;
    qint32 value = 0;
    qint32 amount = 0;
};
