// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QMap>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>

/// What practitioners have stored, in a form in which what was acknowledged and what is there can be compared: a text
/// for each patient, record, recipe and questionnaire, by its kind and its id ("record 4f2a..."). A wave counts by its
/// size and its hash.
using WrittenState = QMap<QString, QString>;

QString patientText(const QString& name, const QString& birthDate, const QString& gender, const QString& phone,
                    const QString& notes);
QString recordText(const QString& patientId, const QString& sensorId, const QByteArray& wave);
QString recipeText(int duration, const QStringList& markers);
/// The strengths by the ids of symptoms, or by the texts of a patient's own ones.
QString questionnaireText(const QMap<QString, double>& shipped, const QMap<QString, double>& custom);

/// What the tables hold of each practitioner, by the practitioner's name. What cannot be so in a sound database is
/// added to the complaints: references to nothing, a recording of a wrong size, a last recording that is not the last
/// one, and what the engine finds wrong by itself.
QMap<QString, WrittenState> writtenState(const QSqlDatabase& database, QStringList& complaints);

/// What is different, a line each; nothing if they are equal.
QStringList differences(const WrittenState& expected, const WrittenState& found);
