// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Marker.h"
#include "model/Patient.h"
#include "model/Record.h"

#include <QByteArray>
#include <QJsonArray>
#include <QList>
#include <QString>
#include <QWidget>

#include <memory>

class ImpactDelegate;
class ImpactModel;

namespace Ui {
class ViewImpact;
}

/// The last step of a recipe: the chosen markers in order, where the impact goes, and for how long. Plays the signal,
/// saves it as a WAV file or sends it as a command to the patient's device.
class ViewImpact : public QWidget
{
    Q_OBJECT

signals:
    /// Back to the choice of markers.
    void onBack();
    void onMarkerRemove(QString id);
    void onPatientsList();
    void onPatientCard();
    /// Raw samples of the whole impact, and whom they are for.
    void onPlay(QByteArray bytes, QString text);

public:
    enum class Navigation
    {
        PatientCard = 0,
        PatientList = 1,
    };
    Q_ENUM(Navigation)

    /// Where the impact goes.
    enum class Target
    {
        Box = 0,      ///< a command to the patient's remote device
        Download = 1, ///< a WAV file
        Sensor = 2,   ///< the player
    };
    Q_ENUM(Target)

    /// Keeps copies. `changed` says that the server does not have these markers yet. If the parent has a signal
    /// onPlayerState(bool), it blocks the start button while a player is open.
    ViewImpact(QWidget* parent, Patient* patient, Record* record, QList<Marker>* markers, bool changed);
    ~ViewImpact() override;

public slots:
    void backToPatientsList();
    void backToPatientCard();
    /// Asks nothing: the screen below has its own changes to save.
    void backToReceipt();
    void onDurationChanged();
    void onError(const QString& message);
    void onStart();
    /// Takes the reply of a recipe: a JSON array of base64 blocks, one a marker.
    void onSuccess(const QByteArray& bytes);
    void onTargetChanged();
    void onPlayerState(bool playing);

private:
    void connectParent();
    void setupTable();
    void fillBoxes();
    void setTotalMarkers();
    void calculate();
    /// Target::Box if the current row has no target.
    Target getTarget() const;
    void sendCommand(QList<Marker>& markers, int duration);
    void saveWav(const QJsonArray& blocks);
    void play(QJsonArray blocks);
    void doBackNavigation(Navigation navigation);
    void emitNavigation(Navigation navigation);

    std::unique_ptr<Ui::ViewImpact> ui;
    QByteArray audio;
    ImpactModel* model;
    ImpactDelegate* delegate;
    Patient patient;
    Record record;
    /// How many times each marker's block is repeated.
    int repeats = 1;
    /// Sum of the markers' amounts.
    int totalMarkers = 0;
    bool changed;
};
