// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Metrics.h"

#include "server/Database.h"
#include "server/LineWriter.h"
#include "server/Messages.h"
#include "server/Wire.h"

#include <prometheus/counter.h>
#include <prometheus/gauge.h>
#include <prometheus/histogram.h>
#include <prometheus/registry.h>
#include <prometheus/text_serializer.h>

#include <QFile>

#include <chrono>
#include <map>
#include <memory>
#include <sstream>
#include <tuple>

#include <dirent.h>
#include <unistd.h>

namespace server {

namespace {

const QByteArray place = QByteArrayLiteral("/metrics");

/// Upper ends of the classes of durations in seconds: a page of patients takes a millisecond, an analysis of many
/// records some seconds.
prometheus::Histogram::BucketBoundaries durations()
{
    return {0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30};
}

const std::pair<DatabaseError::Kind, const char*> errorKinds[] = {{DatabaseError::Kind::Failed, "failed"},
                                                                  {DatabaseError::Kind::Conflict, "conflict"},
                                                                  {DatabaseError::Kind::Busy, "busy"},
                                                                  {DatabaseError::Kind::Lost, "lost"}};

std::string label(const QByteArray& text)
{
    return text.isEmpty() ? "-" : text.toStdString();
}

prometheus::ClientMetric counted(double value, std::vector<prometheus::ClientMetric::Label> labels = {})
{
    prometheus::ClientMetric metric;
    metric.label = std::move(labels);
    metric.counter.value = value;
    return metric;
}

prometheus::MetricFamily gauge(const char* name, const char* help, double value)
{
    prometheus::ClientMetric metric;
    metric.gauge.value = value;
    return {name, help, prometheus::MetricType::Gauge, {metric}};
}

/// In bytes; 0 if the system does not tell.
double residentMemory()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toDouble() * double(sysconf(_SC_PAGESIZE));
}

/// 0 if the system does not tell.
int openDescriptors()
{
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
    if (!folder)
        return 0;
    int count = 0;
    while (const dirent* entry = readdir(folder.get()))
        count += entry->d_name[0] != '.';
    // The folder itself is one of them.
    return count - 1;
}

} // namespace

class Metrics::Figures
{
public:
    Figures(const Database& database, LineWriter& log);

    void began() { m_inFlight.Increment(); }
    void ended() { m_inFlight.Decrement(); }
    void count(const QByteArray& method, const QByteArray& pattern, int status);
    void measure(const QByteArray& pattern, std::chrono::duration<double> time);
    std::string text() const;

private:
    const Database& m_database;
    LineWriter& m_log;
    double m_start; ///< seconds since 1970
    prometheus::Registry m_registry;
    prometheus::Family<prometheus::Counter>& m_requests;
    prometheus::Family<prometheus::Histogram>& m_durations;
    prometheus::Gauge& m_inFlight;
    // Looking one up in its family takes longer than counting.
    std::mutex m_mutex;
    std::map<std::tuple<QByteArray, QByteArray, int>, prometheus::Counter*> m_counters;
    std::map<QByteArray, prometheus::Histogram*> m_histograms;
};

Metrics::Figures::Figures(const Database& database, LineWriter& log)
    : m_database(database)
    , m_log(log)
    , m_start(std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count())
    , m_requests(prometheus::BuildCounter()
                     .Name("quelmar_requests_total")
                     .Help("Requests answered, by method, pattern of the path, and status.")
                     .Register(m_registry))
    , m_durations(prometheus::BuildHistogram()
                      .Name("quelmar_request_duration_seconds")
                      .Help("From the arrival of a request until its answer is made, by pattern of the path.")
                      .Register(m_registry))
    , m_inFlight(prometheus::BuildGauge()
                     .Name("quelmar_requests_in_flight")
                     .Help("Requests that are being answered, with the one that asks.")
                     .Register(m_registry)
                     .Add({}))
{
    prometheus::BuildGauge()
        .Name("quelmar_build_info")
        .Help("The version of the program; always 1.")
        .Register(m_registry)
        .Add({{"version", QUELMAR_VERSION}})
        .Set(1);
}

void Metrics::Figures::count(const QByteArray& method, const QByteArray& pattern, int status)
{
    prometheus::Counter* counter = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        prometheus::Counter*& known = m_counters[{method, pattern, status}];
        if (known == nullptr)
            known = &m_requests.Add(
                {{"method", label(method)}, {"path", label(pattern)}, {"status", std::to_string(status)}});
        counter = known;
    }
    counter->Increment();
}

void Metrics::Figures::measure(const QByteArray& pattern, std::chrono::duration<double> time)
{
    prometheus::Histogram* histogram = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        prometheus::Histogram*& known = m_histograms[pattern];
        if (known == nullptr)
            known = &m_durations.Add({{"path", label(pattern)}}, durations());
        histogram = known;
    }
    histogram->Observe(time.count());
}

std::string Metrics::Figures::text() const
{
    std::vector<prometheus::MetricFamily> all = m_registry.Collect();
    prometheus::MetricFamily errors{"quelmar_database_errors_total",
                                    "Statements and connections that failed, by kind; conflicts are done again.",
                                    prometheus::MetricType::Counter,
                                    {}};
    for (const auto& kind : errorKinds)
        errors.metric.push_back(counted(double(m_database.errors(kind.first)), {{"kind", kind.second}}));
    all.push_back(errors);
    all.push_back({"quelmar_log_lines_dropped_total",
                   "Lines of the log that found no room on the error output.",
                   prometheus::MetricType::Counter,
                   {counted(double(m_log.dropped()))}});
    all.push_back(gauge("process_start_time_seconds", "When this process began to serve, since 1970.", m_start));
    all.push_back(gauge("process_resident_memory_bytes", "Memory that this process holds.", residentMemory()));
    all.push_back(gauge("process_open_fds", "Open file descriptors of this process.", openDescriptors()));
    all.push_back(gauge("process_max_fds", "The most file descriptors that this process may have open.",
                        double(sysconf(_SC_OPEN_MAX))));
    std::ostringstream out;
    prometheus::TextSerializer().Serialize(out, all);
    return out.str();
}

Metrics::Metrics(RequestHandler& next, const Database& database, LineWriter& log)
    : m_next(next)
    , m_figures(std::make_unique<Figures>(database, log))
{
}

Metrics::~Metrics() = default;

Reply Metrics::handle(const Request& request)
{
    /// Ends also by an exception.
    struct Flight
    {
        explicit Flight(Figures& counting)
            : figures(counting)
        {
            figures.began();
        }
        ~Flight() { figures.ended(); }

        Figures& figures;
    };

    const Flight flight(*m_figures);
    // To the letter: a proxy that keeps others from this path has only that to go by.
    Reply reply = request.path == place ? show(request) : m_next.handle(request);
    m_figures->count(request.knownMethod(), reply.pattern, reply.status);
    m_figures->measure(reply.pattern, std::chrono::steady_clock::now() - request.arrived);
    return reply;
}

Reply Metrics::refuse(int status, const QByteArray& acceptLanguage)
{
    Reply reply = m_next.refuse(status, acceptLanguage);
    m_figures->count(QByteArray(), QByteArray(), reply.status);
    return reply;
}

Reply Metrics::show(const Request& request) const
{
    Reply reply;
    if (request.method == "GET") {
        reply.contentType = "text/plain; version=0.0.4; charset=utf-8";
        reply.body = QByteArray::fromStdString(m_figures->text());
    } else {
        reply = Wire::message(
            405, Messages::text(Messages::MethodNotAllowed, Messages::language(request.header("accept-language"))));
    }
    reply.pattern = place;
    return reply;
}

} // namespace server
