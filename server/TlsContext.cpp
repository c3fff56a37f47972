// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/TlsContext.h"

#include <QFile>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

namespace server {

namespace {

using Context = std::shared_ptr<SSL_CTX>;
using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;
using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

constexpr qint64 maxFileBytes = 1024 * 1024;

/// Nothing on failure.
QByteArray contentOf(const QString& name, const QString& what, QString& error)
{
    QFile file(name);
    QByteArray content;
    if (file.open(QIODevice::ReadOnly))
        content = file.read(maxFileBytes);
    if (file.error() != QFile::NoError)
        error = QStringLiteral("cannot read the %1 %2: %3").arg(what, name, file.errorString());
    else if (content.isEmpty())
        error = QStringLiteral("the %1 %2 is empty").arg(what, name);
    return error.isEmpty() ? content : QByteArray();
}

Bio reader(const QByteArray& content)
{
    return Bio(BIO_new_mem_buf(content.constData(), content.size()), BIO_free);
}

/// Of the last failure; whatever else is kept of it is dropped.
QString reason()
{
    const char* text = ERR_reason_error_string(ERR_peek_last_error());
    ERR_clear_error();
    return text ? QString::fromLatin1(text) : QStringLiteral("unknown reason");
}

/// True at the end of a file that was sound so far.
bool atEnd()
{
    const unsigned long failure = ERR_peek_last_error();
    ERR_clear_error();
    return ERR_GET_LIB(failure) == ERR_LIB_PEM && ERR_GET_REASON(failure) == PEM_R_NO_START_LINE;
}

bool useCertificates(SSL_CTX* context, const QString& name, QString& error)
{
    const QByteArray content = contentOf(name, QStringLiteral("certificate"), error);
    if (!error.isEmpty())
        return false;
    const Bio file = reader(content);
    const Certificate own(PEM_read_bio_X509_AUX(file.get(), nullptr, nullptr, nullptr), X509_free);
    if (!own) {
        error = QStringLiteral("the file %1 holds no certificate in PEM format").arg(name);
        return false;
    }
    if (SSL_CTX_use_certificate(context, own.get()) != 1) {
        error = QStringLiteral("the certificate %1 cannot be used: %2").arg(name, reason());
        return false;
    }
    for (;;) {
        Certificate next(PEM_read_bio_X509(file.get(), nullptr, nullptr, nullptr), X509_free);
        if (!next)
            break;
        if (SSL_CTX_add0_chain_cert(context, next.get()) != 1) {
            error = QStringLiteral("the chain of the certificate %1 cannot be used: %2").arg(name, reason());
            return false;
        }
        static_cast<void>(next.release()); // it is the context's now
    }
    if (!atEnd()) {
        error = QStringLiteral("the chain of the certificate %1 is damaged").arg(name);
        return false;
    }
    return true;
}

/// Called for an encrypted key alone.
int noPassphrase(char*, int, int, void* asked)
{
    *static_cast<bool*>(asked) = true;
    return -1;
}

bool useKey(SSL_CTX* context, const QString& name, const QString& certificate, QString& error)
{
    const QByteArray content = contentOf(name, QStringLiteral("key"), error);
    if (!error.isEmpty())
        return false;
    const Bio file = reader(content);
    bool encrypted = false;
    const Key key(PEM_read_bio_PrivateKey(file.get(), nullptr, noPassphrase, &encrypted), EVP_PKEY_free);
    if (encrypted)
        error = QStringLiteral("the key %1 is encrypted: it has to be stored without a passphrase").arg(name);
    else if (!key)
        error = QStringLiteral("the file %1 holds no private key in PEM format").arg(name);
    else if (X509_check_private_key(SSL_CTX_get0_certificate(context), key.get()) != 1)
        error = QStringLiteral("the key %1 does not belong to the certificate %2").arg(name, certificate);
    else if (SSL_CTX_use_PrivateKey(context, key.get()) != 1)
        error = QStringLiteral("the key %1 cannot be used: %2").arg(name, reason());
    return error.isEmpty();
}

/// Null on failure.
Context made(const QString& certificateFile, const QString& keyFile, QString& error)
{
    error.clear();
    ERR_clear_error();
    const Context context(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
    // With these ciphers a key that is stolen later opens nothing that was recorded before.
    if (!context || SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION) != 1 ||
        SSL_CTX_set_cipher_list(context.get(), "ECDHE+AESGCM:ECDHE+CHACHA20") != 1) {
        error = QStringLiteral("the system's TLS cannot be used: %1").arg(reason());
        return nullptr;
    }
    SSL_CTX_set_options(context.get(), SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    const bool sound = useCertificates(context.get(), certificateFile, error) &&
                       useKey(context.get(), keyFile, certificateFile, error);
    ERR_clear_error();
    return sound ? context : nullptr;
}

} // namespace

TlsContext::TlsContext(const QString& certificateFile, const QString& keyFile)
    : m_certificateFile(certificateFile)
    , m_keyFile(keyFile)
{
}

std::shared_ptr<TlsContext> TlsContext::load(const QString& certificateFile, const QString& keyFile, QString& error)
{
    const std::shared_ptr<TlsContext> loaded(new TlsContext(certificateFile, keyFile));
    return loaded->reload(error) ? loaded : nullptr;
}

bool TlsContext::reload(QString& error)
{
    Context context = made(m_certificateFile, m_keyFile, error);
    if (!context)
        return false;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_context = std::move(context);
    return true;
}

QString TlsContext::warning() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const X509* certificate = SSL_CTX_get0_certificate(m_context.get());
    if (X509_cmp_current_time(X509_get0_notAfter(certificate)) < 0)
        return QStringLiteral("the certificate %1 has expired").arg(m_certificateFile);
    if (X509_cmp_current_time(X509_get0_notBefore(certificate)) > 0)
        return QStringLiteral("the certificate %1 is not valid yet").arg(m_certificateFile);
    return QString();
}

ssl_st* TlsContext::newSession() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return SSL_new(m_context.get());
}

} // namespace server
