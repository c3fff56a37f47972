// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Authentication.h"
#include "net/Controller.h"
#include "tests/fuzz/Application.h"

#include <QJsonDocument>

namespace {

void succeed(Controller::Type type, const QByteArray& reply)
{
    auto* const controller = new Controller(nullptr);
    int told = 0;
    QObject::connect(controller, &Controller::onSuccess, controller, [&] { ++told; });
    QObject::connect(controller, &Controller::onError, controller, [] { require(false, "a success is no error"); });
    controller->success(type, reply);
    require(told == 1, "a success is told once");
    delete controller;
}

QString textOf(const QJsonObject& reply, const char* key)
{
    const QJsonValue value = reply.value(QLatin1String(key));
    return value.isString() ? value.toString() : QString();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray reply(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QJsonObject json = QJsonDocument::fromJson(reply).object();
    Authentication* const session = Authentication::getInstance();
    const QString token = textOf(json, "accessToken");
    const QString type = textOf(json, "tokenType");
    const QString language = textOf(json, "language").toLower();
    const QString country = textOf(json, "country").toUpper();

    succeed(Controller::Type::Login, reply);
    require(session->isAuthenticated() == !token.isEmpty(), "a token is a session");
    require(session->getAuthHeader() == QString(type + QLatin1Char(' ') + token).toUtf8(), "the header has both");
    require(session->getLocale() == language + QLatin1Char('_') + country, "the locale has both");
    require(session->getAcceptLanguage() == QString(language + QLatin1Char('-') + country).toUtf8(),
            "the language has both");
    require(session->getExpiredAt() == textOf(json, "expiredAt"), "the end is told as it is");

    // Nothing of the last session is left, and a new token changes nothing else.
    succeed(Controller::Type::Login, "{}");
    require(!session->isAuthenticated() && session->getAuthHeader() == " " &&
                session->getLocale() == QLatin1String("_"),
            "an empty reply empties the session");
    succeed(Controller::Type::TokenUpdate, reply);
    require(session->getAuthHeader() == QString(QLatin1Char(' ') + token).toUtf8(), "the token is the new one");
    require(session->getLocale() == QLatin1String("_") && session->getExpiredAt().isEmpty(), "the rest is as it was");
    return 0;
}
