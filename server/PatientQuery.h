// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace server {

/// Which patients a list shows, and in what order.
struct PatientQuery
{
    enum class Sort
    {
        Name,
        Age,
        Gender,
        Record,
        Notes,
    };
    enum class Field
    {
        Name,
        Notes,
    };

    Sort sort = Sort::Name;
    bool descending = false;
    Field field = Field::Name;
    QString needle; ///< shown are those whose field contains it, in whatever case; empty shows all
    int size = 20;  ///< rows of a page; 0 for all in one page
    int page = 0;   ///< from 0
};

} // namespace server
