// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

/// Watches the log of the running test: a failed string connection, a painter used wrongly and the like are failures
/// that Qt only logs.
///
/// Make one in initTestCase() (the handler of the test library is in place by then) and call verify() in cleanup().
class MessageGuard
{
public:
    MessageGuard();
    ~MessageGuard();
    MessageGuard(const MessageGuard&) = delete;
    MessageGuard& operator=(const MessageGuard&) = delete;

    /// Fails the running test if a forbidden message came since the last call.
    void verify();
    /// Every message since the last clear(), the harmless ones too.
    QStringList messages() const;
    void clear();
};
