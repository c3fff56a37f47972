// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

namespace server {

/// Random names, session tokens and password hashes, by libsodium. Usable on any thread.
class Secrets
{
public:
    /// False if the system gives no randomness; nothing else may be called then. Any number of times.
    static bool initialize();

    /// 128 random bits as 22 characters of the URL-safe base64 alphabet.
    static QString randomId();
    /// 128 random bits as 32 hexadecimal digits.
    static QByteArray randomHex();
    /// 256 random bits as 43 characters of the same alphabet.
    static QString randomToken();
    /// What is stored of a token: its fingerprint.
    static QString tokenHash(const QString& token);
    /// BLAKE2b-256 in hexadecimal digits, to find a text again without keeping it.
    static QString fingerprint(const QString& text);

    /// Argon2id with a salt of its own. Null if there is not enough memory. This and the next take 64 MiB meanwhile:
    /// who may be one of many takes a turn of the HashingQueue before.
    static QString passwordHash(const QString& password);
    /// Takes as long for a null `hash` (an account that does not exist) as for any other.
    static bool passwordMatches(const QString& password, const QString& hash);
    /// Whether the hash was made with other parameters than passwordHash() takes now.
    static bool isOutdated(const QString& hash);
    /// How often this process has hashed a password, be it to store or to compare it.
    static quint64 hashings();
};

} // namespace server
