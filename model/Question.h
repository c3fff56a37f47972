// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QString>

/// One question of the questionnaire: a symptom by its text, with its intensities. A plain value.
class Question
{
public:
    int getId() const { return id; }
    void setId(int value) { id = value; }
    QString getSymptom() const { return symptom; }
    void setSymptom(const QString& value) { symptom = value; }
    /// Column id to intensity. The reference is to the question's own values: they are set through it.
    QHash<QString, float>& getIntensities() { return intensities; }
    const QHash<QString, float>& getIntensities() const { return intensities; }

private:
    int id = -1;
    QString symptom;
    QHash<QString, float> intensities;
};
