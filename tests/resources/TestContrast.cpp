// SPDX-License-Identifier: GPL-3.0-or-later
#include "analysis/SummaryTableModel.h"
#include "analysis/SymptomModel.h"
#include "analysis/ViewComparativeAnalysis.h"
#include "app/init.h"
#include "model/Patient.h"
#include "model/Record.h"
#include "net/LoadingWindow.h"
#include "patients/PatientModel.h"
#include "patients/RecordModel.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/MessageGuard.h"

#include <QApplication>
#include <QChart>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QLegend>
#include <QMap>
#include <QRegularExpression>
#include <QStringList>
#include <QTableView>
#include <QTest>
#include <QValueAxis>
#include <QtMath>

#include <cmath>
#include <memory>

namespace {

/// Left and right of the text in a header, in pixels.
constexpr int headerPadding = 10 + 19;

constexpr double readable = 4.5;
/// For bold text from 18.66 pixels and any from 24.
constexpr double readableLarge = 3.0;

/// Text that the given palette leaves below: both colours are given together. docs/accessibility.md lists the same.
struct Exception
{
    const char* where;
    const char* text;
    const char* ground;
    /// As it is measured, to two places.
    const char* ratio;
};
const Exception exceptions[] = {
    {"QHeaderView::section", "#888888", "#f7f9fc", "3.36"},
    {"QComboBox QAbstractItemView", "#f2818181", "#ffffff", "3.57"},
    {"FormPatient #notesLabel", "#f2818181", "#eaeff2", "3.12"},
    {"FormPatient #agreement", "#f2818181", "#eaeff2", "3.12"},
    {"SymptomModel, head rows", "#178467", "#e0fbf6", "4.26"},
    {"SymptomModel, moderate", "#414141", "#ff5455", "3.23"},
    {"SymptomModel, expressed", "#414141", "#ad57ff", "2.71"},
};

/// Rules that set a colour for text and leave the ground to what lies behind.
const QMap<QString, QStringList>& groundsBehind()
{
    const QString window = QStringLiteral("#eaeff2");
    const QString panel = QStringLiteral("#f7f9fc");
    static const QMap<QString, QStringList> grounds{
        {QStringLiteral("QLabel"), {window, panel}},
        {QStringLiteral("QCheckBox"), {window, panel}},
        {QStringLiteral("QRadioButton"), {window, panel}},
        {QStringLiteral("QGroupBox"), {window, panel}},
        {QStringLiteral("FormPatient #notesLabel"), {window}},
        {QStringLiteral("FormPatient #agreement"), {window}},
        {QStringLiteral("ReceiptDescriptionPopup #titleLabel"), {QStringLiteral("#f3fffd")}},
        {QStringLiteral("ReceiptDescriptionPopup #textViewer"), {QStringLiteral("#f3fffd")}},
        {QStringLiteral("QStatusBar QPushButton"), {panel}},
        // The veil is half black over whatever the screen shows.
        {QStringLiteral("LoadingWindow QLabel"), {QStringLiteral("#757779"), QStringLiteral("#7f7f7f")}},
    };
    return grounds;
}

/// Grounds on which no text stands.
bool isTextless(const QString& selector)
{
    static const QRegularExpression without(QStringLiteral(
        "^(AudioRecorder|Dialog\\w+|FormPatient|MainWindow|Q\\w*Dialog|QMessageBox|View\\w+|QHeaderView|"
        "QTableCornerButton::section|#tableViewBox|ViewAnalysis #tableViewBox1|ViewPatients #(tableBox|searchBox)|"
        "DialogPlayer QProgressBar(::chunk)?|QMenu::separator|QScrollBar.*|"
        // only a picture
        "View\\w+ #button(Refresh|DeleteCommand|ManageDevice|EditPatient)(:\\w+)?|"
        "DialogPlayer #button(PlayPause|Stop)(:\\w+)?|FormPatient #buttonGender(Male|Female)(:\\w+)?)$"));
    return without.match(selector).hasMatch();
}

double luminance(const QColor& colour)
{
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

/// A colour that lets something through, on a ground that does not.
QColor over(const QColor& colour, const QColor& ground)
{
    const double share = colour.alphaF();
    const auto mix = [share](double above, double below) { return above * share + below * (1 - share); };
    return QColor::fromRgbF(mix(colour.redF(), ground.redF()), mix(colour.greenF(), ground.greenF()),
                            mix(colour.blueF(), ground.blueF()));
}

double contrast(const QColor& text, const QColor& ground)
{
    const double one = luminance(over(text, ground)) + 0.05;
    const double other = luminance(ground) + 0.05;
    return qMax(one, other) / qMin(one, other);
}

bool isOpaque(const QString& value)
{
    return value.startsWith(QLatin1Char('#')) && value.size() == 7;
}

struct Pair
{
    QString where;
    QColor text;
    QColor ground;
    bool large;
};

QString nameOf(const QColor& colour)
{
    return colour.name(colour.alpha() == 255 ? QColor::HexRgb : QColor::HexArgb);
}

} // namespace

/// Measures every text of the program on its ground by the contrast ratio of the Web Content Accessibility Guidelines.
class TestContrast : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup() { guard->verify(); }
    void cleanupTestCase() { guard.reset(); }

    void formulaIsThatOfTheGuidelines();
    void sheetIsReadable();
    void modelsAreReadable();
    void barsAreReadable();
    void chartsAreReadable();
    void paletteIsReadable();
    void exceptionsAreNeeded();
    void pageListsTheExceptions();

private:
    QString value(const QString& selector, const QString& property) const
    {
        return rules.value(selector).value(property);
    }
    /// The colour of text under this selector: its own, or that of the state or class that it refines.
    QString textColour(const QString& selector) const;
    bool isLarge(const QString& selector) const;
    /// Fails the running test for a text below the bound that is no exception.
    void measure(const Pair& pair);
    void measure(const QString& where, const QColor& text, const QColor& ground, bool large = false);

    std::unique_ptr<MessageGuard> guard;
    QMap<QString, QMap<QString, QString>> rules;
    QStringList selectors;
    QStringList used;
    int measured = 0;
};

void TestContrast::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    init(*qApp);
    QString sheet = qApp->styleSheet();
    sheet.remove(QRegularExpression(QStringLiteral("/\\*.*?\\*/"), QRegularExpression::DotMatchesEverythingOption));
    const QStringList blocks = sheet.split(QLatin1Char('}'), Qt::SkipEmptyParts);
    for (const QString& block : blocks) {
        const QStringList heads = block.section(QLatin1Char('{'), 0, 0).split(QLatin1Char(','));
        const QStringList body = block.section(QLatin1Char('{'), 1).split(QLatin1Char(';'));
        for (const QString& head : heads) {
            const QString selector = head.simplified();
            if (selector.isEmpty()) {
                continue;
            }
            if (!selectors.contains(selector)) {
                selectors.append(selector);
            }
            for (const QString& line : body) {
                const QString property = line.section(QLatin1Char(':'), 0, 0).simplified();
                if (!property.isEmpty()) {
                    rules[selector][property] = line.section(QLatin1Char(':'), 1).simplified();
                }
            }
        }
    }
    QVERIFY(selectors.size() > 100);
}

QString TestContrast::textColour(const QString& selector) const
{
    QString own = value(selector, QStringLiteral("color"));
    if (!own.isEmpty()) {
        return own;
    }
    const int colon = selector.lastIndexOf(QLatin1Char(':'));
    if (colon > 0 && selector.at(colon - 1) != QLatin1Char(':')) {
        return textColour(selector.left(colon));
    }
    const QString last = selector.section(QLatin1Char(' '), -1);
    if (last != selector && (last == QLatin1String("QPushButton") || last.startsWith(QLatin1String("#button")))) {
        return textColour(QStringLiteral("QPushButton"));
    }
    if (last == QLatin1String("QLineEdit") || last == QLatin1String("QTextEdit")) {
        return nameOf(qApp->palette().color(QPalette::Text));
    }
    return {};
}

bool TestContrast::isLarge(const QString& selector) const
{
    const QString base = selector.section(QLatin1Char(':'), 0, 0);
    const QString size = value(base, QStringLiteral("font-size"));
    const double pixels = size.endsWith(QLatin1String("px")) ? size.chopped(2).toDouble() : 0;
    return pixels >= 24 || (pixels >= 18.66 && value(base, QStringLiteral("font-weight")) == QLatin1String("bold"));
}

void TestContrast::measure(const QString& where, const QColor& text, const QColor& ground, bool large)
{
    measure({where, text, ground, large});
}

void TestContrast::measure(const Pair& pair)
{
    ++measured;
    QVERIFY2(pair.text.isValid() && pair.ground.isValid(), qPrintable(pair.where));
    const double ratio = contrast(pair.text, pair.ground);
    if (ratio >= (pair.large ? readableLarge : readable)) {
        return;
    }
    const QString rounded = QString::number(ratio, 'f', 2);
    const QString found =
        QStringLiteral("%1: %2 on %3 has %4").arg(pair.where, nameOf(pair.text), nameOf(pair.ground), rounded);
    for (const Exception& exception : exceptions) {
        if (pair.where == QLatin1String(exception.where) && nameOf(pair.text) == QLatin1String(exception.text) &&
            nameOf(pair.ground) == QLatin1String(exception.ground)) {
            QVERIFY2(rounded == QLatin1String(exception.ratio), qPrintable(found));
            used.append(pair.where);
            return;
        }
    }
    QFAIL(qPrintable(found));
}

void TestContrast::formulaIsThatOfTheGuidelines()
{
    QCOMPARE(contrast(Qt::black, Qt::white), 21.0);
    QCOMPARE(contrast(Qt::white, Qt::white), 1.0);
    // Known from the guidelines: the lightest grey that is readable on white.
    QVERIFY(contrast(QColor(0x76, 0x76, 0x76), Qt::white) >= readable);
    QVERIFY(contrast(QColor(0x77, 0x77, 0x77), Qt::white) < readable);
    QCOMPARE(over(QColor(0, 0, 0, 0), Qt::white), QColor(Qt::white));
}

void TestContrast::sheetIsReadable()
{
    for (const QString& selector : qAsConst(selectors)) {
        // What cannot be used need not be read; the current page's button is a word all the same.
        if (selector.contains(QLatin1String(":disabled")) &&
            selector != QLatin1String("QPagination QPushButton:disabled")) {
            continue;
        }
        const QString colour = value(selector, QStringLiteral("color"));
        const QString ground = value(selector, QStringLiteral("background"));
        const QString text = textColour(selector);
        if (isOpaque(ground) && !isTextless(selector)) {
            QVERIFY2(!text.isEmpty(), qPrintable(selector + QStringLiteral(" has no colour for its text")));
            measure(selector, QColor(text), QColor(ground), isLarge(selector));
        } else if (!colour.isEmpty() || groundsBehind().contains(selector)) {
            QStringList grounds = groundsBehind().value(selector);
            const QString base = selector.section(QLatin1Char(':'), 0, 0);
            const int state = selector.lastIndexOf(QLatin1Char(':'));
            if (grounds.isEmpty() && state > 0 && isOpaque(value(selector.left(state), QStringLiteral("background")))) {
                grounds.append(value(selector.left(state), QStringLiteral("background")));
            }
            // Titles and labels of the screens stand on the window.
            if (grounds.isEmpty() &&
                base.section(QLatin1Char(' '), -1).contains(QRegularExpression(QStringLiteral("^#(label|title)")))) {
                grounds.append(QStringLiteral("#eaeff2"));
            }
            QVERIFY2(!grounds.isEmpty(), qPrintable(selector + QStringLiteral(" has no known ground")));
            for (const QString& behind : qAsConst(grounds)) {
                measure(selector, QColor(text), QColor(behind), isLarge(selector));
            }
        }
        const QString chosen = value(selector, QStringLiteral("selection-color"));
        if (!chosen.isEmpty()) {
            measure(selector, QColor(chosen), QColor(value(selector, QStringLiteral("selection-background-color"))));
        }
        const QString alternate = value(selector, QStringLiteral("alternate-background-color"));
        if (!alternate.isEmpty()) {
            measure(selector, QColor(text), QColor(alternate));
        }
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    QVERIFY(measured > 60);
}

void TestContrast::modelsAreReadable()
{
    PatientModel patients(nullptr);
    patients.append(Patient(QJsonObject{{QStringLiteral("name"), QStringLiteral("a")}}));
    patients.append(Patient(QJsonObject{{QStringLiteral("name"), QStringLiteral("b")}}));
    RecordModel records(nullptr);
    records.append(Record(QJsonObject{}));
    records.append(Record(QJsonObject{}));
    QTableView symptomsTable;
    auto& symptoms = *new SymptomModel(&symptomsTable);
    QJsonArray rows;
    for (int id = 1; id <= 4; ++id) {
        rows.append(QJsonObject{{QStringLiteral("id"), id}});
    }
    const QJsonObject dates{{QStringLiteral("r"), QStringLiteral("2024-01-02T03:04:05")}};
    symptoms.fromJSON(QJsonObject{{QStringLiteral("dates"), dates}, {QStringLiteral("rows"), rows}});
    SummaryTableModel summary(nullptr);
    summary.fromJson(R"({"columns": ["c"], "rows": [{"title": "a", "values": [-20]}, {"title": "b", "values": [0]},
                         {"title": "c", "values": [20]}]})");

    const QColor sheetText(value(QStringLiteral("QTableView"), QStringLiteral("color")));
    const QColor selection(value(QStringLiteral("QTableView"), QStringLiteral("selection-background-color")));
    const auto cell = [&](const QString& where, const QModelIndex& index) {
        const QVariant text = index.data(Qt::ForegroundRole);
        const QVariant ground = index.data(Qt::BackgroundRole);
        QVERIFY2(index.isValid(), qPrintable(where));
        const QColor colour = text.isValid() ? text.value<QBrush>().color() : sheetText;
        measure(where, colour, ground.isValid() ? ground.value<QBrush>().color() : QColor(Qt::white));
    };
    for (int row = 0; row < 2; ++row) {
        cell(QStringLiteral("PatientModel"), patients.index(row, 2));
        cell(QStringLiteral("RecordModel"), records.index(row, 3));
    }
    const char* const strengths[] = {"none", "periodic", "moderate", "expressed"};
    cell(QStringLiteral("SymptomModel, head rows"), symptoms.index(0, 0));
    for (int strength = 0; strength < 4; ++strength) {
        symptoms.setData(symptoms.index(2 + strength, 1), float(strength), Qt::DisplayRole);
        cell(QStringLiteral("SymptomModel, %1").arg(QLatin1String(strengths[strength])),
             symptoms.index(2 + strength, 1));
    }
    for (int row = 0; row < 3; ++row) {
        cell(QStringLiteral("SummaryTableModel"), summary.index(row, 1));
    }
    measure(QStringLiteral("PatientModel, chosen"),
            patients.index(0, 2).data(Qt::ForegroundRole).value<QBrush>().color(), selection);
}

// The number on a percent bar stands in its middle, and the narrowest column has room for the date in its header; so
// the number meets the middle of the colours alone.
void TestContrast::barsAreReadable()
{
    QTableView table;
    table.ensurePolished();
    table.viewport()->ensurePolished();
    // What a view's painter begins with, and what the delegates write in.
    const QColor text = table.viewport()->palette().color(table.viewport()->foregroundRole());
    const QImage gradient(QStringLiteral(":/images/gradient.png"));
    QVERIFY(gradient.width() == 512);
    const QColor chosen(13, 180, 150, 80);
    QFont numbers = table.font();
    numbers.setPixelSize(15);
    QFont dates = table.font();
    dates.setPixelSize(13);
    dates.setBold(true);
    const double number = QFontMetricsF(numbers).horizontalAdvance(QStringLiteral("100%"));
    const double column = QFontMetricsF(dates).horizontalAdvance(QStringLiteral("2024-05-06 07:08:09")) + headerPadding;
    const double share = number / column;
    QVERIFY2(share > 0.1 && share < 0.3, qPrintable(QString::number(share)));
    const int first = qFloor(gradient.width() * (0.5 - share / 2));
    const int last = qCeil(gradient.width() * (0.5 + share / 2));
    for (int x = first; x <= last; ++x) {
        const QColor ground = gradient.pixelColor(x, 0);
        measure(QStringLiteral("percent bar"), text, ground);
        measure(QStringLiteral("percent bar, chosen"), text, over(chosen, ground));
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    measure(QStringLiteral("percent bar, empty"), text, QColor(0xea, 0xef, 0xf2));
}

void TestContrast::chartsAreReadable()
{
    LoopbackServer server;
    QVERIFY(server.listenForClient());
    server.expect("POST", "/analysis/comparative", "{}");
    Patient patient;
    QList<Record> records;
    const ViewComparativeAnalysis view(nullptr, &patient, &records);
    QTRY_VERIFY(view.findChild<LoadingWindow*>() == nullptr);
    const std::unique_ptr<QtCharts::QChart> chart(
        view.makeChart(QJsonObject{{QStringLiteral("a"), QJsonArray{1, 2, 3}}}, QJsonObject()));
    const QList<QtCharts::QAbstractAxis*> axes = chart->axes();
    QCOMPARE(axes.size(), 2);
    for (const QColor& ground : {QColor(Qt::white), QColor(0xea, 0xef, 0xf2)}) {
        for (const QtCharts::QAbstractAxis* axis : axes) {
            measure(QStringLiteral("axis"), axis->labelsColor(), ground);
        }
        measure(QStringLiteral("legend"), chart->legend()->labelColor(), ground);
    }
}

void TestContrast::paletteIsReadable()
{
    const QPalette palette = qApp->palette();
    measure(QStringLiteral("line edit"), palette.color(QPalette::Text), Qt::white);
    measure(QStringLiteral("placeholder"), palette.color(QPalette::PlaceholderText), Qt::white);
}

void TestContrast::exceptionsAreNeeded()
{
    for (const Exception& exception : exceptions) {
        QVERIFY2(used.contains(QLatin1String(exception.where)), exception.where);
    }
}

void TestContrast::pageListsTheExceptions()
{
    QFile file(QStringLiteral(QUELMAR_SOURCE_DIR "/docs/accessibility.md"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QString page = QString::fromUtf8(file.readAll());
    int listed = 0;
    for (const Exception& exception : exceptions) {
        const QString row =
            QStringLiteral("| `%1` on `%2` | %3 |")
                .arg(QLatin1String(exception.text), QLatin1String(exception.ground), QLatin1String(exception.ratio));
        QVERIFY2(page.contains(row), qPrintable(row));
    }
    QRegularExpressionMatchIterator rows =
        QRegularExpression(QStringLiteral("\\| `#\\w+` on `#\\w+` \\| \\d\\.\\d\\d \\|")).globalMatch(page);
    for (; rows.hasNext(); rows.next()) {
        ++listed;
    }
    // The two texts of the form share a row.
    QCOMPARE(listed, int(sizeof(exceptions) / sizeof(exceptions[0])) - 1);
}

QTEST_MAIN(TestContrast)
#include "TestContrast.moc"
