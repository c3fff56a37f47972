// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace server {

class Accounts;
class Database;

/// The practitioner to try the system with: a dozen invented patients, some of them with recordings of synthetic tones
/// and noise.
class Demo
{
public:
    static QString name() { return QStringLiteral("demo"); }
    static QString password() { return QStringLiteral("demo"); }

    /// Adds the practitioner with all patients and recordings, or nothing if there is one of this name. False if it
    /// cannot be added; throws DatabaseError.
    static bool add(Database& database, Accounts& accounts);

    /// A recording as a client uploads it: a WAV file of three seconds with these sines (Hz) at equal strength and some
    /// noise. The same arguments always give the same file.
    static QByteArray recording(const std::vector<double>& frequencies, double noise, unsigned seed);
};

} // namespace server
