// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/languages/TranslationSource.h"

#include <QDir>
#include <QFile>
#include <QXmlStreamReader>

namespace {

QString folder()
{
    return QStringLiteral(QUELMAR_SOURCE_DIR "/languages");
}

} // namespace

TranslationSource::TranslationSource(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return;
    }
    QXmlStreamReader xml(&file);
    QString context;
    TranslationMessage message;
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::StartElement) {
            if (xml.name() == QLatin1String("TS")) {
                languageName = xml.attributes().value(QLatin1String("language")).toString();
            } else if (xml.name() == QLatin1String("name")) {
                context = xml.readElementText();
            } else if (xml.name() == QLatin1String("message")) {
                message = {context, {}, {}, {}};
            } else if (xml.name() == QLatin1String("source")) {
                message.source = xml.readElementText();
            } else if (xml.name() == QLatin1String("translation")) {
                message.type = xml.attributes().value(QLatin1String("type")).toString();
                message.translation = xml.readElementText();
            }
        } else if (token == QXmlStreamReader::EndElement && xml.name() == QLatin1String("message")) {
            list.append(message);
        }
    }
    if (xml.hasError()) {
        error = xml.errorString();
    }
}

QStringList TranslationSource::locales()
{
    QStringList names;
    const QStringList files = QDir(folder()).entryList({QStringLiteral("Translation_*.ts")}, QDir::Files, QDir::Name);
    for (const QString& file : files) {
        names.append(file.mid(12).chopped(3));
    }
    return names;
}

QString TranslationSource::pathOf(const QString& locale)
{
    return folder() + QStringLiteral("/Translation_%1.ts").arg(locale);
}

QString TranslationSource::translation(const QString& context, const QString& source) const
{
    for (const TranslationMessage& message : list) {
        if (message.context == context && message.source == source) {
            return message.translation;
        }
    }
    return {};
}
