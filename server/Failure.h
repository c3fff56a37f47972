// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Messages.h"

#include <QString>
#include <QVector>

#include <exception>
#include <utility>

namespace server {

/// Thrown to end a request with a status of 400 or more. Either a message of the catalogue, a ready sentence, or
/// errors of single fields.
class Failure : public std::exception
{
public:
    struct FieldError
    {
        QString field;
        Messages::Id message;
        QString argument; ///< for a "%1" in the message
    };

    /// `retryAfter`: in so many seconds it may succeed, 0 if that is not known.
    Failure(int status, Messages::Id message, const QString& argument = QString(), int retryAfter = 0)
        : m_status(status)
        , m_message(message)
        , m_argument(argument)
        , m_retryAfter(retryAfter)
    {
    }
    Failure(int status, const QString& sentence)
        : m_status(status)
        , m_sentence(sentence)
    {
    }
    /// Status 400.
    explicit Failure(QVector<FieldError> errors)
        : m_errors(std::move(errors))
    {
    }

    int status() const { return m_status; }
    const QVector<FieldError>& errors() const { return m_errors; }
    int retryAfter() const { return m_retryAfter; }
    QString message(const QString& language) const
    {
        if (!m_sentence.isEmpty())
            return m_sentence;
        const QString text = Messages::text(m_message, language);
        return m_argument.isEmpty() ? text : text.arg(m_argument);
    }

private:
    int m_status = 400;
    Messages::Id m_message = Messages::BadRequest;
    QString m_argument;
    int m_retryAfter = 0;
    QString m_sentence;
    QVector<FieldError> m_errors;
};

} // namespace server
