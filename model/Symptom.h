// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

/// One symptom of the questionnaire with its intensities. A plain value.
class Symptom
{
public:
    Symptom() = default;
    Symptom(int id, const QString& translation, bool isCustom);

    /// The server's number; -1 for a symptom that the server has not numbered.
    int id() const { return number; }
    void setId(int id) { number = id; }
    /// The text to show, as the server gave it or the user typed it.
    QString translation() const { return text; }
    void setTranslation(const QString& translation) { text = translation; }
    /// The user added it, and may remove it.
    bool isCustom() const { return custom; }
    void setIsCustom(bool isCustom) { custom = isCustom; }

    /// The intensity, a float, in the column of this id; invalid if there is none.
    QVariant value(const QString& key) const;
    void setValue(const QString& key, float value);

private:
    int number = -1;
    QString text;
    bool custom = false;
    QHash<QString, float> values;
};
