// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs to compare a hundred records, the first time and afterwards, beside what cannot be done without: the
// transforms of the hundred records, and reading the kept results from the file.
#include "server/Accounts.h"
#include "server/Api.h"
#include "server/Database.h"
#include "server/Demo.h"
#include "server/Patients.h"
#include "server/Records.h"
#include "server/Request.h"
#include "server/Secrets.h"
#include "server/Spectrum.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int recordCount = 100;

/// Where nothing can be measured if something went wrong.
void require(bool condition, const char* what)
{
    if (!condition) {
        std::fprintf(stderr, "%s\n", what);
        std::exit(1);
    }
}

/// A server's file with one patient, and the server's operations on it.
class Practice
{
public:
    Practice();
    ~Practice();
    Practice(const Practice&) = delete;
    Practice& operator=(const Practice&) = delete;

    /// The reply to a comparison of all records.
    QByteArray compare()
    {
        const server::Reply reply = m_api->handle(m_request);
        require(reply.status == 200, reply.body.constData());
        return reply.body;
    }

    void forgetResults() { m_database->run(QStringLiteral("DELETE FROM analyses")); }

    /// The same rows by the engine alone; their bytes.
    int readResults()
    {
        QSqlQuery query(m_reader);
        query.setForwardOnly(true);
        require(query.exec(QStringLiteral("SELECT record_id, result FROM analyses")), "the results cannot be read");
        int bytes = 0;
        while (query.next()) {
            bytes += query.value(0).toString().size() + query.value(1).toByteArray().size();
        }
        return bytes;
    }

private:
    QTemporaryDir m_folder;
    std::unique_ptr<server::Database> m_database;
    std::unique_ptr<server::Api> m_api;
    server::Request m_request;
    QSqlDatabase m_reader;
};

Practice::Practice()
{
    require(server::Secrets::initialize(), "no random numbers");
    const QString path = m_folder.filePath(QStringLiteral("store.sqlite"));
    QString error;
    m_database = server::Database::open(path, error);
    require(m_database != nullptr, "the file cannot be opened");
    server::Accounts accounts(*m_database);
    server::Practitioner practitioner;
    practitioner.name = QStringLiteral("bench");
    practitioner.language = QStringLiteral("en");
    practitioner.country = QStringLiteral("US");
    practitioner = accounts.add(practitioner, QStringLiteral("bench")).value_or(server::Practitioner());
    server::Patient patient;
    patient.name = QStringLiteral("Bench");
    patient.birthDate = QDate(1980, 1, 1);
    patient.gender = QStringLiteral("MALE");
    patient = server::Patients(*m_database, practitioner.id).add(patient);
    server::Records records(*m_database, practitioner.id);
    QJsonArray ids;
    for (int i = 0; i < recordCount; ++i) {
        const auto record = records.add(patient.id, server::Demo::recording({100.0 + 30 * i}, 0.05, unsigned(i)),
                                        QString(), QDateTime::currentDateTimeUtc().addSecs(i - recordCount));
        require(record.has_value(), "a record cannot be stored");
        ids.append(record->id);
    }

    m_api = std::make_unique<server::Api>(*m_database, 1);
    m_request.method = "POST";
    m_request.path = "/analysis/comparative";
    const auto session = accounts.login(QStringLiteral("bench"), QStringLiteral("bench"));
    require(session.has_value(), "no session");
    m_request.headers.insert("authorization", "Bearer " + session->token.toLatin1());
    m_request.headers.insert("accept-language", "en");
    m_request.body =
        QJsonDocument(QJsonObject{{QStringLiteral("patientId"), patient.id}, {QStringLiteral("records"), ids}})
            .toJson();

    m_reader = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("reader"));
    m_reader.setDatabaseName(path);
    require(m_reader.open(), "the file cannot be read");
}

Practice::~Practice()
{
    m_reader = QSqlDatabase();
    QSqlDatabase::removeDatabase(QStringLiteral("reader"));
}

/// While the program runs.
Practice* practice = nullptr;

/// The library's own transform of one record, planned as the server plans it.
class BareTransform
{
public:
    BareTransform()
        : m_in(fftw_alloc_real(server::Spectrum::sampleCount))
        , m_out(fftw_alloc_complex(server::Spectrum::binCount))
        , m_plan(fftw_plan_dft_r2c_1d(server::Spectrum::sampleCount, m_in, m_out, FFTW_ESTIMATE))
    {
        for (int n = 0; n < server::Spectrum::sampleCount; ++n) {
            m_in[n] = n % 100 - 50;
        }
    }

    ~BareTransform()
    {
        fftw_destroy_plan(m_plan);
        fftw_free(m_out);
        fftw_free(m_in);
    }

    BareTransform(const BareTransform&) = delete;
    BareTransform& operator=(const BareTransform&) = delete;

    void ofAllRecords()
    {
        for (int i = 0; i < recordCount; ++i) {
            fftw_execute(m_plan);
            benchmark::DoNotOptimize(m_out[1][0]);
        }
    }

private:
    double* m_in;
    fftw_complex* m_out;
    fftw_plan m_plan;
};

/// Turn about in one run, so that whatever else the machine does weighs on both.
template <typename Yardstick, typename Subject>
void measure(benchmark::State& state, const Yardstick& yardstick, const Subject& subject)
{
    Clock::duration bare = {};
    Clock::duration whole = {};
    while (state.KeepRunning()) {
        const Clock::time_point start = Clock::now();
        yardstick();
        const Clock::time_point between = Clock::now();
        subject();
        bare += between - start;
        whole += Clock::now() - between;
    }
    const double milliseconds = 1e3 / double(state.iterations());
    state.counters["subject_ms"] = std::chrono::duration<double>(whole).count() * milliseconds;
    state.counters["yardstick_ms"] = std::chrono::duration<double>(bare).count() * milliseconds;
    state.counters["ratio"] = double(whole.count()) / double(bare.count());
}

void coldComparisonPerBareTransforms(benchmark::State& state)
{
    BareTransform transform;
    measure(
        state, [&] { transform.ofAllRecords(); },
        [&] {
            practice->forgetResults();
            benchmark::DoNotOptimize(practice->compare().size());
        });
}
BENCHMARK(coldComparisonPerBareTransforms)->Unit(benchmark::kMillisecond)->UseRealTime();

void warmComparisonPerReadingTheResults(benchmark::State& state)
{
    const QByteArray first = practice->compare();
    measure(
        state, [&] { require(practice->readResults() > recordCount * 1000, "not all results are kept"); },
        [&] { require(practice->compare() == first, "the comparison has changed"); });
}
BENCHMARK(warmComparisonPerReadingTheResults)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    Practice made;
    practice = &made;
    benchmark::RunSpecifiedBenchmarks();
    practice = nullptr;
    return 0;
}
