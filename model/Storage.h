// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QJsonObject>
#include <QMetaType>
#include <QString>

/// A named collection of markers that the screens offer for selection. Travels in combo boxes as item data.
class Storage
{
public:
    Storage() = default;
    explicit Storage(const QJsonObject& json);

    QString getId() const { return id; }
    QString getTitle() const { return title; }
    /// The storage is shown by the number of frequencies and not by the match.
    bool getFrequencies() const { return frequencies; }

private:
    QString id;
    QString title;
    bool frequencies = false;
};

Q_DECLARE_METATYPE(Storage)
