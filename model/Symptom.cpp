// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Symptom.h"

Symptom::Symptom(int id, const QString& translation, bool isCustom)
    : number(id)
    , text(translation)
    , custom(isCustom)
{
}

QVariant Symptom::value(const QString& key) const
{
    const auto found = values.constFind(key);
    return found == values.constEnd() ? QVariant() : QVariant(*found);
}

void Symptom::setValue(const QString& key, float value)
{
    values.insert(key, value);
}
