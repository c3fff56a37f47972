// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/LocalText.h"

#include <QVector>

namespace server {

/// The symptoms that every questionnaire asks for, in everyday words.
class Symptoms
{
public:
    struct Symptom
    {
        int id = 0; ///< the same in every version that has the symptom; never used for another one
        LocalText title;
    };

    Symptoms() = delete;

    /// In the order to show.
    static const QVector<Symptom>& all();
    static bool contains(int id);
};

} // namespace server
