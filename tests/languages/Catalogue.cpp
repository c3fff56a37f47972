// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/languages/Catalogue.h"

#include <QStringList>

namespace {

struct Row
{
    const char* users;
    const char* keys;
};

const Row rows[] = {
    {"DialogAbout", "Text.about Text.aboutProgramType Text.aboutVersion Text.aboutEmail Text.aboutWebsite "
                    "Text.expiredAt Text.close"},
    {"AudioRecorder", "Text.record Text.reRecord Text.saveRecord Text.startRecord Text.messageRemote Text.send "
                      "Title.signalRecord Dialog.signalRecordInProgress Dialog.signalRecordConfirm "
                      "Dialog.signalRecord"},
    {"AudioRecorder DialogAutospectrum ViewPatient", "Text.autospectrum"},
    {"AudioRecorder DialogAutospectrum DialogChangePassword FormPatient ViewRecoveryHistory", "Text.cancel"},
    {"DialogAutospectrum", "Text.duration"},
    {"DialogAutospectrum DialogChangePassword", "Text.confirm"},
    {"DialogAutospectrum ViewImpact", "Text.minutes"},
    {"DialogChangePassword", "Text.changePassword Text.oldPassword Text.password Text.passwordRepeat"},
    {"DialogChangePassword DialogLogin Dialogs", "Text.error"},
    {"DialogManageDevices", "Text.disableDevice Text.enableDevice Text.titleDisconnect Text.confirmDisconnect "
                            "Text.manageDevices Text.connect Text.disconnect"},
    {"DialogManageDevices PatientModel", "Text.deviceNotConnected"},
    {"DialogPlayer", "Title.player"},
    {"DialogLogin MainWindow", "Title.application"},
    {"Dialogs", "Text.success Dialog.deletePatient Dialog.confirmDeletePatient Dialog.deleteRecord "
                "Dialog.confirmDeleteRecord"},
    {"Dialogs RecordModel", "Text.yes Text.no"},
    {"FormPatient", "Text.day Text.year Text.male Text.female Dialog.createPatient Dialog.editPatient Form.notes "
                    "Form.name Form.patientAgreement"},
    {"FormPatient ViewPatient", "Form.phone"},
    {"FormPatient PatientModel ViewPatients", "Text.name"},
    {"FormPatient ViewImpact ViewRecoveryHistory", "Text.save"},
    {"LoadingWindow", "Text.requestInProgress"},
    {"MainWindow", "Text.closeTitle Text.closeMessage Text.upToDate Text.updatesAvailable Text.updatesTitle "
                   "Text.impactFinished Text.changeLocaleSuccess Dialog.successChangePassword Menu.password "
                   "Menu.updates Menu.about Menu.application Menu.language"},
    {"PatientManager", "Text.invalidName Text.invalidBirthDate"},
    {"PatientModel", "Text.noCommands Text.recordInProgress Text.recordComplete Text.recipeInProgress "
                     "Text.recipeComplete Text.age Text.gender Text.lastRecordDate Text.phone"},
    {"PatientModel ViewPatients", "Text.notes"},
    {"AnalysisModel ReceiptModel", "Text.marker"},
    {"ReceiptModel", "Text.matchPercent Text.amountFrequencies"},
    {"RecordModel", "Text.recordedAt Text.doctorName Text.questionnaire"},
    {"SummaryTableModel", "Text.category"},
    {"SymptomsTable", "Text.symptom Text.complaintsNumber Text.severity"},
    {"SymptomDelegate SymptomModel", "Complaint.none Complaint.periodic Complaint.moderate Complaint.expressed"},
    {"Utils", "Text.January Text.February Text.March Text.April Text.May Text.June Text.July Text.August "
              "Text.September Text.October Text.November Text.December"},
    {"ViewAnalysis", "Text.tabSummaryTable Text.analyse Text.tabMarkersAnalysis Title.analysis"},
    {"ViewComparativeAnalysis", "Title.comparativeAnalysis"},
    {"ViewAnalysis ViewComparativeAnalysis ViewImpact ViewPatient ViewReceipt ViewRecoveryHistory",
     "Text.listOfPatients"},
    {"ViewAnalysis ViewComparativeAnalysis ViewImpact ViewReceipt ViewRecoveryHistory", "Text.patientCard"},
    {"ViewImpact", "Text.sensor Text.download Text.box Text.recipeCommand Text.selfRecipeCommand Text.recipe "
                   "Text.totalMarkers Text.durationInMinutes Text.start Text.durationPerMarker Text.totalTime "
                   "Text.errorWavSave Text.addToRecipe Text.recipeCommandSuccess Title.recipe"},
    {"ViewImpact ViewPatient", "Text.saveFile"},
    {"ViewImpact ViewPatient ViewReceipt", "Text.deviceConnected"},
    {"ViewImpact ViewReceipt ViewRecoveryHistory", "Text.saving Text.confirmSave"},
    {"ViewPatient", "Text.deleteCommandTitle Text.deleteCommandMessage Text.errorSaveFile Text.edit Text.newRecord "
                    "Text.analysis Text.comparativeAnalysis Text.recoveryHistory Text.excelExport "
                    "Text.deletePatient Text.deleteCommand Text.manageDevice Text.deviceConnectSuccess "
                    "Text.deviceDisconnectSuccess Text.deviceStatusChangeSuccess Text.deleteCommandSuccess "
                    "Text.commandSuccess Title.patientView Title.patientViewTable Form.age Form.gender"},
    {"ViewPatient ViewPatients ViewRecoveryHistory", "Text.refresh"},
    {"ViewPatient ViewReceipt", "Text.receipt"},
    {"ViewPatients", "Text.listPatients Text.patientSearch Text.newPatient Title.patients"},
    {"ViewReceipt", "Text.createRecipe Text.load"},
    {"ViewRecoveryHistory", "Text.newSymptom Text.removeSymptom Text.symptomName Title.historyOfRecovery"},

    // What has no words on the screen: names for those who hear it, and the player's tool tips.
    {"DialogLogin", "Text.username Text.password Text.login"},
    {"DialogPlayer", "Text.play Text.pause Text.stop"},
    {"FormPatient", "Text.month"},
    {"QPagination", "Text.previousPage Text.nextPage"},
    {"RecordModel", "Text.allRecords"},
    {"ViewAnalysis ViewReceipt", "Text.category Text.storage"},
    {"ViewImpact", "Text.target Text.command"},
    {"ViewPatients", "Text.searchIn"},
};

} // namespace

QVector<CatalogueEntry> catalogue()
{
    QVector<CatalogueEntry> entries;
    for (const Row& row : rows) {
        const QStringList users = QString::fromLatin1(row.users).split(QLatin1Char(' '));
        const QStringList keys = QString::fromLatin1(row.keys).split(QLatin1Char(' '));
        for (const QString& user : users) {
            for (const QString& key : keys) {
                entries.append({user, contextOf(user), key});
            }
        }
    }
    return entries;
}

QString contextOf(const QString& className)
{
    const bool isStatic = className == QLatin1String("Dialogs") || className == QLatin1String("Utils");
    return isStatic ? QStringLiteral("QObject") : className;
}

QString place(const QString& context, const QString& text)
{
    return context + QLatin1Char('/') + text;
}

QSet<QString> cataloguePlaces()
{
    QSet<QString> places;
    const QVector<CatalogueEntry> entries = catalogue();
    for (const CatalogueEntry& entry : entries) {
        places.insert(place(entry.context, entry.key));
    }
    return places;
}
