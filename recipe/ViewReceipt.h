// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Marker.h"
#include "model/Patient.h"
#include "model/Record.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QWidget>

#include <memory>

class QSortFilterProxyModel;
class ReceiptDelegate;
class ReceiptModel;

namespace Ui {
class ViewReceipt;
}

/// The screen on which the markers of a recipe are chosen for one record. Marks survive a change of the storage; they
/// are saved on the server when the user leaves and says so.
class ViewReceipt : public QWidget
{
    Q_OBJECT

signals:
    /// The user goes on with these markers, in order of choice. The references hold during the emission only. The flag
    /// says that there are changes the server does not know.
    void onReceipt(Patient& patient, Record& record, QList<Marker>& markers, bool changed);
    void onPatientsList();
    void onBack();

public:
    enum class Navigation
    {
        PatientCard = 0,
        PatientList = 1,
    };
    Q_ENUM(Navigation)

    /// Keeps copies of patient and record, and asks for the saved recipe at once.
    ViewReceipt(QWidget* parent, Patient* patient, Record* record);
    ~ViewReceipt() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

public slots:
    void onAnalyse();
    void onAnalyseSuccess(const QByteArray& bytes);
    void onCategoryChanged(int index);
    void onLoadRecipe(const QByteArray& bytes);
    void onLoadSuccess(const QByteArray& bytes);
    void onError(const QString& message);
    void onSelection(Marker& marker);
    void backToPatientsList();
    void backToPatient();
    void receipt();
    /// Takes the marker out of the receipt and out of the visible table.
    void markerRemove(const QString& id);

private:
    /// What the mouse does on the boxes and the notes; false leaves the key to the table.
    bool tableKey(int key);
    void removeSelected(const QString& id);
    QList<Marker> selectedMarkers() const;
    void updateHeaderHeight();
    void doBackNavigation(Navigation navigation);
    void emitNavigation(Navigation navigation);

    std::unique_ptr<Ui::ViewReceipt> ui;
    Patient patient;
    Record record;
    ReceiptModel* model;
    QSortFilterProxyModel* proxy;
    ReceiptDelegate* delegate;
    /// Id and marker, in order of choice.
    QList<QPair<QString, Marker>> selected;
    bool changed = false;
};
