// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Controller.h"
#include "tests/fuzz/Application.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

namespace {

/// The words that the user gets to see for this body of a failed reply.
QString wordsFor(const QByteArray& body)
{
    auto* const controller = new Controller(nullptr);
    int told = 0;
    QString words;
    QObject::connect(controller, &Controller::onError, controller, [&](const QString& message) {
        words = message;
        ++told;
    });
    QObject::connect(controller, &Controller::onSuccess, controller, [] { require(false, "an error is no success"); });
    QObject::connect(controller, &Controller::onBytes, controller, [] { require(false, "an error is no data"); });
    controller->error(body);
    require(told == 1, "an error is told once");
    delete controller;
    return words;
}

QJsonArray errorsOf(const QList<QByteArray>& lines)
{
    QJsonArray errors;
    for (const QByteArray& line : lines) {
        errors.append(QJsonObject{{QString::fromLatin1(line.left(3)), QString::fromLatin1(line)}});
    }
    return errors;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QByteArray body(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QString words = wordsFor(body);
    const QJsonObject reply = QJsonDocument::fromJson(body).object();
    const QJsonValue message = reply.value(QLatin1String("message"));
    const QJsonValue errors = reply.value(QLatin1String("errors"));
    if (message.isString()) {
        require(words == message.toString(), "a message is told as it is");
    } else if (!message.isUndefined() && !message.isNull()) {
        require(words.isEmpty(), "what is no text says nothing");
    } else if (!errors.isArray()) {
        require(words.isEmpty(), "without message and errors there are no words");
    } else {
        QString rest = words;
        for (const auto& element : errors.toArray()) {
            // To look a key up in an object fails in Qt 5.15 where keys are beyond the basic plane.
            QMap<QString, QJsonValue> members;
            const QJsonObject object = element.toObject();
            for (auto member = object.begin(); member != object.end(); ++member) {
                members.insert(member.key(), member.value());
            }
            if (!members.isEmpty()) {
                const QString key = members.firstKey();
                require(rest.startsWith(key + QLatin1Char(' ')), "the first key of an error is told");
                rest.remove(0, key.size() + 1);
                const QJsonValue value = members.first();
                if (value.isString() || value.isArray() || value.isObject() || value.isNull()) {
                    require(rest.startsWith(value.toString()), "a text is told as it is");
                    rest.remove(0, value.toString().size());
                } else {
                    rest.remove(0, qMax(0, rest.indexOf(QLatin1String("\r\n"))));
                }
                require(rest.startsWith(QLatin1String("\r\n")), "an error has its line");
                rest.remove(0, 2);
            }
        }
        require(rest.isEmpty(), "nothing is told but the errors");
    }

    // Whatever the text, as a message it is told, and whatever the lines, each is told as an error.
    const QString text = QString::fromLatin1(body);
    require(wordsFor(QJsonDocument(QJsonObject{{QStringLiteral("message"), text},
                                               {QStringLiteral("errors"), QJsonArray{QJsonObject{{text, text}}}}})
                         .toJson()) == text,
            "a message goes before errors");
    const QList<QByteArray> lines = body.split('\n').mid(0, 4);
    QString told;
    for (const QByteArray& line : lines) {
        told +=
            QString::fromLatin1(line.left(3)) + QLatin1Char(' ') + QString::fromLatin1(line) + QStringLiteral("\r\n");
    }
    require(wordsFor(QJsonDocument(QJsonObject{{QStringLiteral("errors"), errorsOf(lines)}}).toJson()) == told,
            "each error is told in its line");
    return 0;
}
