// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Storage.h"

#include <QJsonObject>
#include <QList>
#include <QMetaType>
#include <QString>

/// A group of storages. Travels in combo boxes as item data.
class Category
{
public:
    Category() = default;
    explicit Category(const QJsonObject& json);

    QString getTitle() const { return title; }
    /// In the server's order.
    QList<Storage> getStorages() { return storages; }

private:
    QString title;
    QList<Storage> storages;
};

Q_DECLARE_METATYPE(Category)
