// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/SymptomsTableColumn.h"

SymptomsTableColumn::SymptomsTableColumn(const QString& id, const QDateTime& recordDate)
    : key(id)
    , date(recordDate)
{
}
