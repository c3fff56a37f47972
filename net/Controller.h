// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QWidget>

class HttpReply;
class LoadingWindow;
class Marker;
class Patient;
class Record;

/// One request to the server: make it with new, call one operation, connect. It reports once, after control is back
/// in the event loop, and deletes itself; nobody owns it.
///
/// A reply that is neither data nor an error (a 3xx without a target) reports nothing: the controller and its overlay
/// then stay.
class Controller : public QObject
{
    Q_OBJECT

signals:
    void onBytes(const QByteArray& bytes);
    /// The server's own words, one line an error; empty if the transport failed.
    void onError(const QString& message);
    void onSuccess();

public:
    /// What a successful reply means.
    enum class Type
    {
        Bytes = 0,       ///< onBytes with the reply as it stands
        Login = 1,       ///< starts the session, onSuccess
        TokenUpdate = 2, ///< replaces the session's token, onSuccess
        Zipped = 3,      ///< onBytes with what the base64 of a gzip holds
        Plain = 4,       ///< onSuccess; the reply is dropped
    };
    Q_ENUM(Type)

    /// While the request runs, `parentWidget`, if any, is covered by a LoadingWindow. It may be destroyed meanwhile.
    explicit Controller(QWidget* parentWidget, QObject* parent = nullptr);

    void login(QMap<QString, QString>& form);
    void changePassword(QMap<QString, QString>& map);
    /// `locale` is such as "ru_RU".
    void changeLocale(const QString& locale);
    void updates();

    void patientsList();
    /// `current` counts pages from 0. Empty texts are sent as empty items.
    void patientsFilter(const QString& sortBy, const QString& direction, int size, int current, const QString& searchBy,
                        const QString& needle);
    void patientCreate(Patient* patient);
    void patientUpdate(Patient* patient);
    void patientDelete(Patient* patient);

    void questionnaire(Patient* patient, QList<Record>& records);
    void updateQuestionnaire(Patient* patient, QByteArray& data);

    void deviceConnect(Patient* patient, QString deviceId);
    void deviceDisconnect(Patient* patient);
    void deviceToggle(Patient* patient);

    void getRecords(Patient* patient);
    /// `bytes` is a whole WAV file; `deviceId` is the sensor that made it, empty if unknown.
    void uploadRecord(Patient* patient, QByteArray& bytes, QString deviceId);
    void deleteRecord(Record* record);

    /// A null `record` leaves the record out of the request.
    void command(Patient* patient, Record* record, QString command);
    void deleteCommand(Patient* patient);

    void analysisSummary(const QByteArray& data);
    void analysisMarkers(const QByteArray& data);
    void analysisComparative(const QByteArray& data);
    void diagnosticCategories(Patient* patient);
    void correctiveCategories(Patient* patient);

    void getRecipe(Patient* patient, Record* record);
    /// `duration` is in minutes.
    void recipe(Patient* patient, Record* record, QList<Marker>& markers, int duration, QString deviceId);
    void saveRecipe(Patient* patient, Record* record, QList<Marker>& markers, int duration, QString command);
    void recipeAutospectrum(Patient* patient, Record* record, QString deviceId);
    void excelExport(Patient* patient);

    void post(QString url, Controller::Type type, const QByteArray& data);
    void put(QString url, Controller::Type type, const QByteArray& data);
    void get(QString url, Controller::Type type);
    void del(QString url);

    /// In bytes, what no sound reply exceeds: the base64 of ten hours of samples, and the marks around its blocks.
    static constexpr int maximumUnzipped = 22050 * 600 * 60 / 3 * 4 + 16 * 1024 * 1024;
    /// What a gzip member holds. Truncated input gives what there is of it, broken input an empty array, and so does
    /// one that holds more than `limit` bytes.
    static QByteArray unzip(const QByteArray& data, int limit = maximumUnzipped);

public slots:
    void success(Controller::Type type, const QByteArray& bytes);
    void error(const QByteArray& bytes);

private:
    static QJsonObject prepareRecipeData(Patient* patient, Record* record, QList<Marker>& markers, int duration,
                                         const QString& deviceId, const QString& command);
    static QJsonObject prepareAutospectrumData(Patient* patient, Record* record, const QString& deviceId);
    QString address(const char* path) const;
    void showLoading();
    void hideLoading();
    void receive(HttpReply* reply, Controller::Type type);

    const char* const apiUrl;
    const char* const comparativePath = "/analysis/comparative";
    const char* const analysisPath = "/analysis";
    const char* const summaryPath = "/analysis/summary";
    const char* const categoryPath = "/category";
    const char* const passwordPath = "/auth/password";
    const char* const localePath = "/auth/locale";
    const char* const commandPath = "/command";
    const char* const loginPath = "/auth/login";
    const char* const patientPath = "/patient";
    const char* const devicePath = "/patient/device";
    const char* const recordPath = "/record";
    const char* const recipePath = "/recipe";
    const char* const autospectrumPath = "/recipe/autospectrum";
    const char* const exportPath = "/export";
    const char* const updatesPath = "/auth/updates";
    QPointer<LoadingWindow> loadingWindow;
    QPointer<QWidget> parentWidget;
};
