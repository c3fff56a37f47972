// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <memory>
#include <mutex>

struct ssl_st;
struct ssl_ctx_st;

namespace server {

/// The server's side of TLS, 1.2 at least: its certificate with its key. Can be used from any thread.
class TlsContext
{
public:
    /// Reads two PEM files: the certificate followed by those between it and the authority, and its key without a
    /// passphrase. Null on failure; `error` says why, without anything of what stands in the files.
    static std::shared_ptr<TlsContext> load(const QString& certificateFile, const QString& keyFile, QString& error);

    /// Reads the files again, for the connections to come. On failure `error` says why, and nothing changes.
    bool reload(QString& error);
    /// What the clients will object to although it can be used, as of now: the certificate's dates. Empty if nothing.
    QString warning() const;

    /// For one connection, owned by the caller; null without memory.
    ssl_st* newSession() const;

private:
    TlsContext(const QString& certificateFile, const QString& keyFile);

    const QString m_certificateFile;
    const QString m_keyFile;
    mutable std::mutex m_mutex;
    std::shared_ptr<ssl_ctx_st> m_context;
};

} // namespace server
