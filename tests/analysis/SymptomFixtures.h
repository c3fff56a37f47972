// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QTranslator>

/// What the server would say of a questionnaire.
namespace SymptomFixtures {

/// The object that this text is; a text that is none ends the test program.
QJsonObject object(const QByteArray& text);

/// Two dates and four symptoms. By column and row:
///
///     row 2  Cough  0 1
///     row 3  Ache   2 3
///     row 4  Mine   1 none   (custom)
///     row 5  Yours  0 2      (custom)
extern const QByteArray usual;

/// Puts the context before each key, "SymptomModel/Complaint.none", and gives a place to the key that takes an
/// argument.
class KeysWithContext : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* key, const char* disambiguation, int n) const override;
};

} // namespace SymptomFixtures
