// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>

namespace server {

class Accounts;
class Database;

/// Practitioners with any number of invented patients, to measure what the server bears: "demo1" to "demo200", each
/// with the password of Demo. The same number gives the same patients, in whichever database.
class DemoLoad
{
public:
    static constexpr int maxPatients = 10000000;
    static constexpr int maxPractitioners = 200;
    /// A recording has 66 KB, so not everybody has some: the first patients of each practitioner have five each, and no
    /// practitioner more than this.
    static constexpr int recordsOfPractitioner = 20;
    static constexpr int recordsOfPatient = 5;

    DemoLoad() = delete;

    /// As many as there are patients, at most `maxPractitioners`.
    static int practitioners(int patients);
    static QString name(int practitioner);

    /// Adds so many practitioners, from the first on, with an equal share of the patients each. One of such a name who
    /// is there already keeps the patients that he has and gets no others; so what was interrupted is completed by the
    /// same number. Each of them is stored as a whole; after each, `progress` is told how many are done. The number of
    /// patients that were added; -1 if a practitioner cannot be added. Throws DatabaseError.
    static int add(Database& database, Accounts& accounts, int patients, int practitioners,
                   const std::function<void(int)>& progress);
};

} // namespace server
