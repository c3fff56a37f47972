// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Secrets.h"

#include <sodium.h>

#include <atomic>

namespace server {

namespace {

std::atomic<quint64> hashed{0};

QString randomText(int size)
{
    QByteArray bytes(size, '\0');
    randombytes_buf(bytes.data(), size_t(size));
    return QString::fromLatin1(bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

QString hashOf(const QByteArray& password)
{
    ++hashed;
    char hash[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str_alg(hash, password.constData(), size_t(password.size()), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                              crypto_pwhash_MEMLIMIT_INTERACTIVE, crypto_pwhash_ALG_ARGON2ID13) != 0)
        return QString();
    return QString::fromLatin1(hash);
}

} // namespace

bool Secrets::initialize()
{
    return sodium_init() >= 0;
}

QString Secrets::randomId()
{
    return randomText(16);
}

QByteArray Secrets::randomHex()
{
    QByteArray bytes(16, '\0');
    randombytes_buf(bytes.data(), size_t(bytes.size()));
    return bytes.toHex();
}

QString Secrets::randomToken()
{
    return randomText(32);
}

QString Secrets::tokenHash(const QString& token)
{
    return fingerprint(token);
}

QString Secrets::fingerprint(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    QByteArray hash(crypto_generichash_BYTES, '\0');
    crypto_generichash(reinterpret_cast<unsigned char*>(hash.data()), size_t(hash.size()),
                       reinterpret_cast<const unsigned char*>(bytes.constData()), quint64(bytes.size()), nullptr, 0);
    return QString::fromLatin1(hash.toHex());
}

QString Secrets::passwordHash(const QString& password)
{
    return hashOf(password.toUtf8());
}

bool Secrets::passwordMatches(const QString& password, const QString& hash)
{
    static const QByteArray stranger = hashOf(randomText(16).toLatin1()).toLatin1();
    const QByteArray known = hash.isNull() ? stranger : hash.toLatin1();
    const QByteArray text = password.toUtf8();
    ++hashed;
    const bool matches = crypto_pwhash_str_verify(known.constData(), text.constData(), size_t(text.size())) == 0;
    return matches && !hash.isNull();
}

bool Secrets::isOutdated(const QString& hash)
{
    return crypto_pwhash_str_needs_rehash(hash.toLatin1().constData(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                                          crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0;
}

quint64 Secrets::hashings()
{
    return hashed;
}

} // namespace server
