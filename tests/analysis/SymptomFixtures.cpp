// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/analysis/SymptomFixtures.h"

#include <QJsonDocument>
#include <QJsonParseError>

namespace SymptomFixtures {

const QByteArray usual = QByteArrayLiteral(R"({
    "dates": {"r2": "2024-05-07T07:08:09Z", "r1": "2024-05-06T07:08:09Z"},
    "rows": [
        {"id": 11, "symptom": "Cough", "intensities": {"r1": 0, "r2": 1}},
        {"id": 12, "symptom": "Ache", "intensities": {"r1": 2, "r2": 3}},
        {"id": -1, "symptom": "Mine", "custom": true, "intensities": {"r1": 1}},
        {"id": -1, "symptom": "Yours", "custom": true, "intensities": {"r1": 0, "r2": 2}}
    ]})");

QJsonObject object(const QByteArray& text)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        qFatal("No JSON object: %s", text.constData());
    }
    return document.object();
}

QString KeysWithContext::translate(const char* context, const char* key, const char*, int) const
{
    const QString text = QString::fromLatin1(context) + QLatin1Char('/') + QString::fromLatin1(key);
    return text.endsWith(QLatin1String("/Text.patientCard")) ? text + QStringLiteral(" %1") : text;
}

} // namespace SymptomFixtures
