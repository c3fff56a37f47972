// SPDX-License-Identifier: GPL-3.0-or-later
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDirIterator>
#include <QFile>
#include <QFileDialog>
#include <QGroupBox>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenuBar>
#include <QMessageBox>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QStandardItemModel>
#include <QStatusBar>
#include <QTabWidget>
#include <QTableView>
#include <QTextEdit>
#include <QToolTip>
#include <QTreeView>
#include <QVBoxLayout>
#include <QtTest>

#include "app/init.h"
#include "net/DialogLogin.h"
#include "net/LoadingWindow.h"
#include "tests/support/MessageGuard.h"

namespace {

/// Classes of Qt that the sheet may name, by their own meta objects, so that a typing error cannot stand here either.
const QMetaObject* const qtClasses[] = {
    &QAbstractItemView::staticMetaObject, &QCheckBox::staticMetaObject,    &QComboBox::staticMetaObject,
    &QDialogButtonBox::staticMetaObject,  &QFileDialog::staticMetaObject,  &QGroupBox::staticMetaObject,
    &QHeaderView::staticMetaObject,       &QInputDialog::staticMetaObject, &QLabel::staticMetaObject,
    &QLineEdit::staticMetaObject,         &QListView::staticMetaObject,    &QMenu::staticMetaObject,
    &QMenuBar::staticMetaObject,          &QMessageBox::staticMetaObject,  &QProgressBar::staticMetaObject,
    &QPushButton::staticMetaObject,       &QRadioButton::staticMetaObject, &QScrollArea::staticMetaObject,
    &QScrollBar::staticMetaObject,        &QSpinBox::staticMetaObject,     &QStatusBar::staticMetaObject,
    &QTabBar::staticMetaObject,           &QTabWidget::staticMetaObject,   &QTableView::staticMetaObject,
    &QTextEdit::staticMetaObject,         &QTreeView::staticMetaObject,
};
// No meta object, but names that Qt's style sheets know.
const QStringList qtOtherNames{QStringLiteral("QToolTip"), QStringLiteral("QTableCornerButton")};

const QStringList subControls{
    QStringLiteral("add-line"),    QStringLiteral("add-page"),   QStringLiteral("chunk"),
    QStringLiteral("corner"),      QStringLiteral("down-arrow"), QStringLiteral("drop-down"),
    QStringLiteral("down-button"), QStringLiteral("handle"),     QStringLiteral("item"),
    QStringLiteral("pane"),        QStringLiteral("section"),    QStringLiteral("separator"),
    QStringLiteral("sub-line"),    QStringLiteral("sub-page"),   QStringLiteral("tab"),
    QStringLiteral("up-arrow"),    QStringLiteral("up-button"),
};
const QStringList states{
    QStringLiteral("checked"),    QStringLiteral("default"),  QStringLiteral("disabled"), QStringLiteral("focus"),
    QStringLiteral("horizontal"), QStringLiteral("hover"),    QStringLiteral("off"),      QStringLiteral("pressed"),
    QStringLiteral("selected"),   QStringLiteral("vertical"),
};
// Qt passes over a property that it does not know without a word.
const QStringList properties{
    QStringLiteral("alternate-background-color"),
    QStringLiteral("background"),
    QStringLiteral("border"),
    QStringLiteral("border-bottom"),
    QStringLiteral("border-bottom-color"),
    QStringLiteral("border-color"),
    QStringLiteral("border-left"),
    QStringLiteral("border-radius"),
    QStringLiteral("border-top"),
    QStringLiteral("border-top-left-radius"),
    QStringLiteral("border-top-right-radius"),
    QStringLiteral("color"),
    QStringLiteral("combobox-popup"),
    QStringLiteral("dialogbuttonbox-buttons-have-icons"),
    QStringLiteral("font-size"),
    QStringLiteral("font-weight"),
    QStringLiteral("gridline-color"),
    QStringLiteral("height"),
    QStringLiteral("icon-size"),
    QStringLiteral("image"),
    QStringLiteral("margin"),
    QStringLiteral("margin-right"),
    QStringLiteral("margin-top"),
    QStringLiteral("max-height"),
    QStringLiteral("max-width"),
    QStringLiteral("min-height"),
    QStringLiteral("min-width"),
    QStringLiteral("outline"),
    QStringLiteral("padding"),
    QStringLiteral("padding-bottom"),
    QStringLiteral("padding-left"),
    QStringLiteral("padding-right"),
    QStringLiteral("padding-top"),
    QStringLiteral("right"),
    QStringLiteral("selection-background-color"),
    QStringLiteral("selection-color"),
    QStringLiteral("spacing"),
    QStringLiteral("subcontrol-origin"),
    QStringLiteral("subcontrol-position"),
    QStringLiteral("text-align"),
    QStringLiteral("width"),
};

const QStringList palette{
    QStringLiteral("#eaeff2"),
    QStringLiteral("#f7f9fc"),
    QStringLiteral("#414141"),
    QStringLiteral("#888888"),
    QStringLiteral("#7aa8e0"),
    QStringLiteral("#4289dd"),
    QStringLiteral("#2f63a5"),
    QStringLiteral("#2f629d"),
    QStringLiteral("#0db496"),
    QStringLiteral("#0db495"),
    QStringLiteral("#3c8571"),
    QStringLiteral("#d2d2d2"),
    QStringLiteral("#e1e1e1"),
    QStringLiteral("#2c3232"),
    QStringLiteral("#40000000"),
    QStringLiteral("#f2818181"),
    QStringLiteral("#ffffff"),
    QStringLiteral("#101820"),
    // shades under the mouse
    QStringLiteral("#5799e5"),
    QStringLiteral("#10c3a3"),
    QStringLiteral("#bfc4c8"),
};

struct Declaration
{
    QString property;
    QString value;
};

struct Rule
{
    QStringList selectors; ///< each with single blanks between its steps
    QList<Declaration> declarations;
};

/// One step of a selector, such as "QPushButton#buttonStart::menu:hover".
struct Step
{
    bool valid = false;
    QString type;
    QStringList ids;
    QStringList subs;
    QStringList pseudos;
};

struct Code
{
    QSet<QString> classes;
    QSet<QString> names;
    QHash<QString, QSet<QString>> namesOf; ///< by the class whose form or source sets them
};

Step parseStep(const QString& text)
{
    static const QRegularExpression whole(
        QStringLiteral("^([A-Za-z_]\\w*)?((?:#[A-Za-z_]\\w*)*)((?:::[a-z-]+)*)((?::!?[a-z-]+)*)$"));
    const QRegularExpressionMatch match = whole.match(text);
    Step step;
    step.valid = match.hasMatch() && !text.isEmpty();
    step.type = match.captured(1);
    step.ids = match.captured(2).split(QLatin1Char('#'), Qt::SkipEmptyParts);
    step.subs = match.captured(3).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    step.pseudos = match.captured(4).remove(QLatin1Char('!')).split(QLatin1Char(':'), Qt::SkipEmptyParts);
    return step;
}

QString read(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// Empty if the text is no sheet; *error then says why.
QList<Rule> parseSheet(QString text, QString* error)
{
    text.remove(QRegularExpression(QStringLiteral("/\\*.*?\\*/"), QRegularExpression::DotMatchesEverythingOption));
    QList<Rule> rules;
    int at = 0;
    while (!text.midRef(at).trimmed().isEmpty()) {
        const int open = text.indexOf(QLatin1Char('{'), at);
        const int close = text.indexOf(QLatin1Char('}'), at);
        if (open < 0 || close < open || text.midRef(open + 1, close - open - 1).contains(QLatin1Char('{'))) {
            *error = QStringLiteral("unbalanced braces after: ") + text.mid(at, 60).simplified();
            return {};
        }
        Rule rule;
        const QStringList selectors = text.mid(at, open - at).split(QLatin1Char(','));
        for (const QString& selector : selectors) {
            rule.selectors.append(selector.simplified());
        }
        const QStringList body = text.mid(open + 1, close - open - 1).split(QLatin1Char(';'));
        for (int i = 0; i < body.size(); ++i) {
            const QString line = body.at(i).simplified();
            if (line.isEmpty() && i == body.size() - 1) {
                break;
            }
            const int colon = line.indexOf(QLatin1Char(':'));
            if (colon < 1 || i == body.size() - 1) {
                *error = QStringLiteral("no declaration: ") + line;
                return {};
            }
            rule.declarations.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
        }
        rules.append(rule);
        at = close + 1;
    }
    return rules;
}

Code readCode()
{
    static const QRegularExpression classHead(
        QStringLiteral("^class\\s+(\\w+)\\s*(?:final\\s*)?(?::|\\{|\\n\\{|\\n\\s*:)"),
        QRegularExpression::MultilineOption);
    static const QRegularExpression formName(QStringLiteral("<(?:widget|action)[^>]*\\bname=\"(\\w+)\""));
    static const QRegularExpression setName(QStringLiteral("setObjectName\\(\\s*\\w+\\(\"(\\w+)\"\\)"));
    Code code;
    for (const char* folder : {"app", "net", "model", "patients", "signal", "analysis", "recipe"}) {
        const QString path = QStringLiteral(QUELMAR_SOURCE_DIR "/") + QLatin1String(folder);
        QDirIterator walk(path, {QStringLiteral("*.h"), QStringLiteral("*.cpp"), QStringLiteral("*.ui")}, QDir::Files,
                          QDirIterator::Subdirectories);
        while (walk.hasNext()) {
            const QString file = walk.next();
            const QString text = read(file);
            const bool form = file.endsWith(QLatin1String(".ui"));
            // A header that stands before its source is a promise, not a class.
            if (file.endsWith(QLatin1String(".h")) && QFile::exists(file.chopped(1) + QLatin1String("cpp"))) {
                auto heads = classHead.globalMatch(text);
                while (heads.hasNext()) {
                    code.classes.insert(heads.next().captured(1));
                }
            }
            auto names = (form ? formName : setName).globalMatch(text);
            while (names.hasNext()) {
                const QString name = names.next().captured(1);
                code.names.insert(name);
                code.namesOf[QFileInfo(file).completeBaseName()].insert(name);
            }
        }
    }
    return code;
}

QString hex(QRgb pixel)
{
    return QColor(pixel).name();
}

/// The picture of the widget as it stands, laid out and polished, though never shown on a screen.
QImage picture(QWidget& widget)
{
    widget.ensurePolished();
    return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

bool contains(const QImage& image, const QRect& area, QRgb colour)
{
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (image.valid(x, y) && (image.pixel(x, y) | 0xff000000) == (colour | 0xff000000)) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

/// Holds resources/styles.css to the code, to the pictures and to the design rules, and looks at widgets that wear it.
class TestStyleSheet : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void parserRefusesBrokenSheets();
    void isAscii();
    void qtParsesIt();
    void selectorsNameWhatExists();
    void statesAndPropertiesAreKnown();
    void coloursAreOfThePalette();
    void picturesExist();
    void background_data();
    void background();
    void designRules_data();
    void designRules();

    void loginDialog();
    void disabledButton();
    void confirmingButtonSinks();
    void messageBox();
    void breadCrumbs();
    void inputs();
    void placeholderDiffersFromText();
    void comboBox();
    void spinBox();
    void table();
    void panel();
    void scrollBar();
    void loadingWindow();
    void statusBarButton();

private:
    /// The last value that a rule gives to exactly this selector; null if none does.
    QString value(const QString& selector, const QString& property) const;

    MessageGuard* guard = nullptr;
    QString sheet;
    QList<Rule> rules;
    Code code;
};

void TestStyleSheet::initTestCase()
{
    guard = new MessageGuard;
    init(*qApp);
    QFile file(QStringLiteral(":/styles.css"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    sheet = QString::fromLatin1(file.readAll());
    QCOMPARE(qApp->styleSheet(), sheet);
    QString error;
    rules = parseSheet(sheet, &error);
    QVERIFY2(rules.size() > 50, qPrintable(error));
    code = readCode();
    QVERIFY(code.classes.contains(QStringLiteral("DialogLogin")));
    QVERIFY(code.namesOf.value(QStringLiteral("DialogLogin")).contains(QStringLiteral("buttonConfirm")));
    QVERIFY(code.namesOf.value(QStringLiteral("LoadingWindow")).contains(QStringLiteral("LoadingWindow")));
}

void TestStyleSheet::cleanup()
{
    guard->verify();
}

void TestStyleSheet::cleanupTestCase()
{
    delete guard;
    guard = nullptr;
}

QString TestStyleSheet::value(const QString& selector, const QString& property) const
{
    QString found;
    for (const Rule& rule : rules) {
        if (!rule.selectors.contains(selector)) {
            continue;
        }
        for (const Declaration& declaration : rule.declarations) {
            if (declaration.property == property) {
                found = declaration.value;
            }
        }
    }
    return found;
}

// The lint is worth as much as its reader.
void TestStyleSheet::parserRefusesBrokenSheets()
{
    for (const char* broken : {"QLabel { color: red; ", "QLabel color: red; }", "QLabel { { color: red; } }",
                               "QLabel { color }", "QLabel { color: red }", "QLabel { ; color: red; }"}) {
        QString error;
        QVERIFY2(parseSheet(QString::fromLatin1(broken), &error).isEmpty(), broken);
        QVERIFY2(!error.isEmpty(), broken);
    }
    QString error;
    const QList<Rule> good = parseSheet(QStringLiteral("/* x { */ A  #b:hover,\nC { color: #fff; }"), &error);
    QCOMPARE(good.size(), 1);
    QCOMPARE(good.first().selectors, (QStringList{QStringLiteral("A #b:hover"), QStringLiteral("C")}));
    QCOMPARE(good.first().declarations.first().value, QStringLiteral("#fff"));

    QVERIFY(!parseStep(QStringLiteral("QLabel:")).valid);
    QVERIFY(!parseStep(QStringLiteral("#")).valid);
    QVERIFY(!parseStep(QString()).valid);
    const Step step = parseStep(QStringLiteral("QSpinBox#spin::up-arrow:!hover:off"));
    QVERIFY(step.valid);
    QCOMPARE(step.type, QStringLiteral("QSpinBox"));
    QCOMPARE(step.ids, QStringList{QStringLiteral("spin")});
    QCOMPARE(step.subs, QStringList{QStringLiteral("up-arrow")});
    QCOMPARE(step.pseudos, (QStringList{QStringLiteral("hover"), QStringLiteral("off")}));
}

void TestStyleSheet::isAscii()
{
    for (const QChar character : sheet) {
        QVERIFY(character.unicode() < 0x80);
    }
}

void TestStyleSheet::qtParsesIt()
{
    guard->clear();
    QWidget widget;
    widget.setStyleSheet(sheet);
    widget.ensurePolished();
    QVERIFY2(guard->messages().isEmpty(), qPrintable(guard->messages().join(QLatin1Char('\n'))));
}

void TestStyleSheet::selectorsNameWhatExists()
{
    QSet<QString> known(qtOtherNames.begin(), qtOtherNames.end());
    for (const QMetaObject* qtClass : qtClasses) {
        known.insert(QString::fromLatin1(qtClass->className()));
    }
    QStringList wrong;
    for (const Rule& rule : rules) {
        for (const QString& selector : rule.selectors) {
            const QStringList steps = selector.split(QLatin1Char(' '));
            const QString owner = parseStep(steps.first()).type;
            for (const QString& text : steps) {
                const Step step = parseStep(text);
                if (!step.valid) {
                    wrong.append(QStringLiteral("not understood: ") + selector);
                }
                if (!step.type.isEmpty() && !known.contains(step.type) && !code.classes.contains(step.type)) {
                    wrong.append(QStringLiteral("no such class: ") + selector);
                }
                for (const QString& id : step.ids) {
                    const bool there =
                        code.classes.contains(owner) ? code.namesOf.value(owner).contains(id) : code.names.contains(id);
                    if (!there) {
                        wrong.append(QStringLiteral("no such object name: ") + selector);
                    }
                }
            }
        }
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

void TestStyleSheet::statesAndPropertiesAreKnown()
{
    QStringList wrong;
    for (const Rule& rule : rules) {
        for (const QString& selector : rule.selectors) {
            for (const QString& text : selector.split(QLatin1Char(' '))) {
                const Step step = parseStep(text);
                for (const QString& sub : step.subs) {
                    if (!subControls.contains(sub)) {
                        wrong.append(selector);
                    }
                }
                for (const QString& state : step.pseudos) {
                    if (!states.contains(state)) {
                        wrong.append(selector);
                    }
                }
            }
        }
        for (const Declaration& declaration : rule.declarations) {
            if (!properties.contains(declaration.property)) {
                wrong.append(rule.selectors.first() + QStringLiteral(": ") + declaration.property);
            }
        }
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

void TestStyleSheet::coloursAreOfThePalette()
{
    static const QRegularExpression hash(QStringLiteral("#\\w+"));
    static const QRegularExpression word(QStringLiteral("\\b[a-z]+\\b"));
    QSet<QString> used;
    QStringList wrong;
    for (const Rule& rule : rules) {
        for (const Declaration& declaration : rule.declarations) {
            auto colours = hash.globalMatch(declaration.value);
            while (colours.hasNext()) {
                const QString colour = colours.next().captured();
                used.insert(colour);
                if (!palette.contains(colour)) {
                    wrong.append(rule.selectors.first() + QStringLiteral(": ") + colour);
                }
            }
            if (declaration.value.startsWith(QLatin1String("url("))) {
                continue;
            }
            auto words = word.globalMatch(declaration.value);
            while (words.hasNext()) {
                const QString name = words.next().captured();
                if (name != QLatin1String("transparent") && QColor::isValidColor(name)) {
                    wrong.append(rule.selectors.first() + QStringLiteral(": ") + name);
                }
            }
            if (declaration.value.contains(QLatin1String("rgb")) || declaration.value.contains(QLatin1String("hsv"))) {
                wrong.append(rule.selectors.first() + QStringLiteral(": ") + declaration.value);
            }
        }
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
    QCOMPARE(QSet<QString>(palette.begin(), palette.end()) - used, QSet<QString>());
}

void TestStyleSheet::picturesExist()
{
    static const QRegularExpression url(QStringLiteral("url\\(([^)]*)\\)"));
    int count = 0;
    auto urls = url.globalMatch(sheet);
    while (urls.hasNext()) {
        const QString path = urls.next().captured(1);
        QVERIFY2(path.startsWith(QLatin1String(":/images/")), qPrintable(path));
        QVERIFY2(!QPixmap(path).isNull(), qPrintable(path));
        ++count;
    }
    QVERIFY(count >= 9);
}

void TestStyleSheet::background_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"AudioRecorder", "DialogAbout", "DialogAutospectrum", "DialogChangePassword",
                             "DialogManageDevices", "DialogLogin", "FormPatient", "MainWindow", "QInputDialog",
                             "QMessageBox", "DialogPlayer", "ViewAnalysis", "ViewReceipt", "ViewRecoveryHistory"}) {
        QTest::newRow(name) << QString::fromLatin1(name);
    }
}

void TestStyleSheet::background()
{
    QFETCH(QString, name);
    QCOMPARE(value(name, QStringLiteral("background")), QStringLiteral("#eaeff2"));
}

void TestStyleSheet::designRules_data()
{
    QTest::addColumn<QString>("selector");
    QTest::addColumn<QString>("property");
    QTest::addColumn<QString>("expected");
    const auto row = [](const char* selector, const char* property, const char* expected) {
        QTest::newRow(qPrintable(QStringLiteral("%1 %2").arg(QLatin1String(selector), QLatin1String(property))))
            << QString::fromLatin1(selector) << QString::fromLatin1(property) << QString::fromLatin1(expected);
    };

    // titles
    for (const char* view : {"ViewPatient", "ViewAnalysis", "ViewComparativeAnalysis", "ViewRecoveryHistory",
                             "ViewReceipt", "ViewImpact"}) {
        for (const char* label : {" #labelTitle", " #labelPatientName"}) {
            const QByteArray selector = QByteArray(view) + label;
            row(selector.constData(), "font-size", "20px");
            row(selector.constData(), "font-weight", "bold");
            row(selector.constData(), "color", "#414141");
        }
    }
    row("ViewPatients #titleLabel", "font-size", "20px");
    row("ViewPatients #titleLabel", "font-weight", "bold");

    // controls and tables
    for (const char* control : {"QLabel", "QCheckBox", "QPushButton", "QLineEdit", "QTextEdit", "QComboBox", "QSpinBox",
                                "QTableView", "QMenu", "QMenuBar", "QStatusBar"}) {
        row(control, "font-size", "15px");
    }
    for (const char* control :
         {"QLabel", "QCheckBox", "QPushButton", "QTextEdit", "QComboBox", "QSpinBox", "QTableView"}) {
        row(control, "color", "#414141");
    }

    // buttons
    row("QPushButton", "padding", "0.5em 2em");
    row("QPushButton", "border-radius", "5px");
    row("QPushButton", "border-bottom", "2px solid #40000000");
    row("QPushButton:disabled", "background", "#d2d2d2");
    row("#breadCrumbs", "border", "none");
    row("#breadCrumbs", "padding", "0");
    row("#breadCrumbs QPushButton", "background", "#4289dd");
    row("#breadCrumbs QPushButton", "border", "1px solid #2f63a5");
    row("#breadCrumbs QPushButton:pressed", "background", "#2f629d");
    row("#breadCrumbs QPushButton:disabled", "background", "#d2d2d2");
    for (const char* button :
         {"AudioRecorder #buttonSaveRecord", "AudioRecorder #buttonStartRecord", "AudioRecorder #buttonSendCommand",
          "DialogAutospectrum #buttonConfirm", "DialogChangePassword #buttonConfirm", "DialogLogin #buttonConfirm",
          "DialogManageDevices #buttonConnect", "FormPatient #buttonSave", "ViewAnalysis #buttonAnalyse",
          "ViewPatients #buttonNewPatient", "ViewRecoveryHistory #buttonSave", "QMessageBox QPushButton:default",
          "ViewReceipt #buttonAnalyse", "ViewReceipt #buttonReceipt", "ViewImpact #buttonStart"}) {
        const bool lower = qstrncmp(button, "ViewReceipt", 11) == 0 || qstrncmp(button, "ViewImpact", 10) == 0;
        row(button, "background", lower ? "#0db495" : "#0db496");
        row(button, "border-bottom", "2px solid #3c8571");
        const QByteArray name(button);
        row((name + ":pressed").constData(), "border", "none");
        if (!name.endsWith(":default")) {
            row((name + ":disabled").constData(), "background", "#d2d2d2");
        }
    }
    row("QMessageBox QPushButton", "padding", "0.5em 1em");
    row("QStatusBar QPushButton", "border-bottom", "2px solid #40000000");
    row("QPagination QPushButton", "padding", "0");
    row("QPagination QPushButton:disabled", "background", "#d2d2d2");

    // The form says no size, and Qt's own 16 pixels would lose the drawing.
    row("FormPatient #buttonGenderMale", "icon-size", "32px");
    row("FormPatient #buttonGenderFemale", "icon-size", "32px");

    // inputs
    for (const char* input :
         {"QLineEdit", "QComboBox", "QTextEdit", "FormPatient QLineEdit", "FormPatient QTextEdit"}) {
        row(input, "background", "#ffffff");
        row(input, "border", "1px solid #7aa8e0");
        row(input, "border-radius", "5px");
    }
    row("QComboBox::drop-down", "width", "15px");
    row("QComboBox::down-arrow", "image", "url(:/images/combobox-arrow.png)");
    row("QComboBox QAbstractItemView", "color", "#f2818181");
    row("FormPatient #notesLabel", "color", "#f2818181");
    row("FormPatient #notesLabel", "font-size", "13px");
    row("FormPatient #agreement", "color", "#f2818181");
    row("ViewImpact #labelDuration", "font-size", "15px");
    row("ViewImpact #spinBoxDuration::up-arrow", "image", "url(:/images/spinup.png)");
    row("ViewImpact #spinBoxDuration::up-arrow:hover", "image", "url(:/images/spinup-hover.png)");
    row("ViewImpact #spinBoxDuration::up-arrow:disabled", "image", "url(:/images/spinup-disabled.png)");
    row("ViewImpact #spinBoxDuration::down-arrow", "image", "url(:/images/spindown.png)");
    row("ViewImpact #spinBoxDuration::down-arrow:hover", "image", "url(:/images/spindown-hover.png)");
    row("ViewImpact #spinBoxDuration::down-arrow:disabled", "image", "url(:/images/spindown-disabled.png)");

    // tables
    row("#tableViewBox", "background", "#f7f9fc");
    row("#tableViewBox", "border-radius", "5px");
    row("ViewAnalysis #tableViewBox1", "background", "#f7f9fc");
    row("ViewAnalysis #tableViewBox1", "border-radius", "5px");
    row("QTableView", "border", "none");
    row("QTableView", "outline", "0");
    row("QTableView", "background", "#f7f9fc");
    row("QTableView", "gridline-color", "#eaeff2");
    row("QTableView", "alternate-background-color", "#e1e1e1");
    row("QTableView", "selection-background-color", "#d2d2d2");
    row("QHeaderView::section", "background", "#f7f9fc");
    row("QHeaderView::section", "color", "#888888");
    row("QHeaderView::section", "font-size", "13px");
    row("QHeaderView::section", "font-weight", "bold");
    row("QHeaderView::section", "border-bottom", "2px solid #eaeff2");
    row("QHeaderView::section", "padding-bottom", "7px");
    row("QHeaderView::section", "padding-left", "10px");
    row("QHeaderView::section", "padding-right", "19px");
    row("QHeaderView::down-arrow", "image", "url(:/images/arrow-down.png)");
    row("QHeaderView::up-arrow", "image", "url(:/images/arrow-up.png)");

    // popup, player, analysis
    row("ReceiptDescriptionPopup #textViewer", "background", "transparent");
    row("ReceiptDescriptionPopup #textViewer", "border", "none");
    row("ReceiptDescriptionPopup #textViewer", "color", "#2c3232");
    row("ReceiptDescriptionPopup #textViewer", "font-size", "12px");
    row("ReceiptDescriptionPopup #titleLabel", "color", "#2c3232");
    row("ReceiptDescriptionPopup #titleLabel", "font-size", "15px");
    row("ReceiptDescriptionPopup #line", "border-top", "1px solid #7aa8e0");
    row("DialogPlayer QProgressBar", "border", "1px solid #7aa8e0");
    row("DialogPlayer QProgressBar::chunk", "background", "#4289dd");
    row("ViewAnalysis QTabWidget::pane", "border", "none");
    row("ViewAnalysis QTabWidget QTabBar::tab", "background", "#f7f9fc");
    row("ViewAnalysis QTabWidget QTabBar::tab:selected", "background", "#4289dd");
    row("ViewComparativeAnalysis QScrollArea", "border", "none");
    row("ViewComparativeAnalysis QScrollArea #chartsContainer", "background", "transparent");
}

void TestStyleSheet::designRules()
{
    QFETCH(QString, selector);
    QFETCH(QString, property);
    QFETCH(QString, expected);
    QCOMPARE(value(selector, property), expected);
}

void TestStyleSheet::loginDialog()
{
    DialogLogin dialog(nullptr);
    auto* user = dialog.findChild<QLineEdit*>(QStringLiteral("usernameField"));
    auto* button = dialog.findChild<QPushButton*>(QStringLiteral("buttonConfirm"));
    QVERIFY(user != nullptr && button != nullptr);
    QImage image = picture(dialog);
    QCOMPARE(image.size(), QSize(360, 220));
    QCOMPARE(hex(image.pixel(5, 5)), QStringLiteral("#eaeff2"));
    QCOMPARE(hex(image.pixel(355, 215)), QStringLiteral("#eaeff2"));
    QCOMPARE(hex(image.pixel(250, 50)), QStringLiteral("#ffffff")); // inside the field
    QCOMPARE(hex(image.pixel(160, 30)), QStringLiteral("#7aa8e0")); // its border
    QCOMPARE(hex(image.pixel(160, 69)), QStringLiteral("#7aa8e0"));
    QCOMPARE(hex(image.pixel(30, 30)), QStringLiteral("#eaeff2")); // its round corner
    QCOMPARE(hex(image.pixel(60, 170)), QStringLiteral("#0db496"));
    QCOMPARE(hex(image.pixel(160, 189)), QStringLiteral("#3c8571"));
    // The form's own font stays: 12 points.
    QCOMPARE(user->font().pointSize(), 12);
    // The picture on the button is there.
    QVERIFY(contains(image, QRect(170, 160, 20, 20), qRgb(0x2c, 0x32, 0x32)));

    button->setEnabled(false);
    image = picture(dialog);
    QCOMPARE(hex(image.pixel(60, 170)), QStringLiteral("#d2d2d2"));
}

void TestStyleSheet::disabledButton()
{
    QPushButton button(QStringLiteral("x"));
    button.resize(120, 40);
    QImage image = picture(button);
    QCOMPARE(hex(image.pixel(20, 20)), QStringLiteral("#ffffff"));
    QCOMPARE(button.font().pixelSize(), 15);
    button.setEnabled(false);
    image = picture(button);
    QCOMPARE(hex(image.pixel(20, 20)), QStringLiteral("#d2d2d2"));
}

void TestStyleSheet::confirmingButtonSinks()
{
    DialogLogin dialog(nullptr);
    auto* button = dialog.findChild<QPushButton*>(QStringLiteral("buttonConfirm"));
    QVERIFY(button != nullptr);
    button->setDown(true);
    const QImage image = picture(dialog);
    QCOMPARE(hex(image.pixel(160, 150)), QStringLiteral("#eaeff2")); // the ground where its top was
    QCOMPARE(hex(image.pixel(60, 170)), QStringLiteral("#0db496"));
    QCOMPARE(hex(image.pixel(160, 189)), QStringLiteral("#0db496")); // no underline
    QCOMPARE(button->geometry(), QRect(30, 150, 300, 40));
}

void TestStyleSheet::messageBox()
{
    QMessageBox box(QMessageBox::Question, QStringLiteral("t"), QStringLiteral("text"),
                    QMessageBox::Yes | QMessageBox::No);
    box.setDefaultButton(QMessageBox::No);
    box.show();
    const QImage image = picture(box);
    QCOMPARE(hex(image.pixel(2, 2)), QStringLiteral("#eaeff2"));
    const QRect yes(box.button(QMessageBox::Yes)->mapTo(&box, QPoint(0, 0)), box.button(QMessageBox::Yes)->size());
    const QRect no(box.button(QMessageBox::No)->mapTo(&box, QPoint(0, 0)), box.button(QMessageBox::No)->size());
    QCOMPARE(hex(image.pixel(yes.left() + 8, yes.center().y())), QStringLiteral("#ffffff"));
    QCOMPARE(hex(image.pixel(no.left() + 8, no.center().y())), QStringLiteral("#0db496"));
}

void TestStyleSheet::breadCrumbs()
{
    QGroupBox bar;
    bar.setObjectName(QStringLiteral("breadCrumbs"));
    auto* layout = new QHBoxLayout(&bar);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* button = new QPushButton(QStringLiteral("List"));
    layout->addWidget(button);
    bar.resize(200, 40);
    bar.ensurePolished();
    layout->activate();
    QCOMPARE(layout->geometry(), bar.rect()); // no frame and no padding of the bar
    const QRect place = button->geometry();
    QImage image = picture(bar);
    QCOMPARE(hex(image.pixel(place.left() + 8, place.center().y())), QStringLiteral("#4289dd"));
    QCOMPARE(hex(image.pixel(place.center().x(), place.top())), QStringLiteral("#2f63a5"));
    QCOMPARE(hex(image.pixel(place.center().x(), place.bottom())), QStringLiteral("#2f63a5"));
    button->setDown(true);
    image = picture(bar);
    QCOMPARE(hex(image.pixel(place.left() + 8, place.center().y())), QStringLiteral("#2f629d"));
}

void TestStyleSheet::inputs()
{
    QLineEdit line;
    QTextEdit text;
    QSpinBox spin;
    for (QWidget* widget : {static_cast<QWidget*>(&line), static_cast<QWidget*>(&text), static_cast<QWidget*>(&spin)}) {
        widget->resize(200, 40);
        const QImage image = picture(*widget);
        QCOMPARE(hex(image.pixel(100, 0)), QStringLiteral("#7aa8e0"));
        QCOMPARE(hex(image.pixel(100, 39)), QStringLiteral("#7aa8e0"));
        QCOMPARE(hex(image.pixel(0, 20)), QStringLiteral("#7aa8e0"));
        QCOMPARE(hex(image.pixel(150, 30)), QStringLiteral("#ffffff"));
        QCOMPARE(widget->font().pixelSize(), 15);
    }
}

// An empty field with a placeholder must not look like a filled one.
void TestStyleSheet::placeholderDiffersFromText()
{
    QLineEdit line;
    line.setPlaceholderText(QStringLiteral("MMMM"));
    line.resize(200, 40);
    QImage image = picture(line);
    QVERIFY(contains(image, image.rect(), qRgb(0x6f, 0x6f, 0x6f)));
    QVERIFY(!contains(image, image.rect(), qRgb(0x41, 0x41, 0x41)));
    line.setText(QStringLiteral("MMMM"));
    image = picture(line);
    QVERIFY(contains(image, image.rect(), qRgb(0x41, 0x41, 0x41)));
    QVERIFY(!contains(image, image.rect(), qRgb(0x6f, 0x6f, 0x6f)));
}

void TestStyleSheet::comboBox()
{
    QComboBox box;
    box.addItems({QStringLiteral("one"), QStringLiteral("two")});
    box.resize(200, 40);
    const QImage image = picture(box);
    QCOMPARE(hex(image.pixel(100, 0)), QStringLiteral("#7aa8e0"));
    QCOMPARE(hex(image.pixel(100, 30)), QStringLiteral("#ffffff"));
    // The arrow's stroke stands in the 15 pixels of the drop-down, 6 off the border.
    QVERIFY(contains(image, QRect(178, 10, 16, 20), qRgb(0x2f, 0x63, 0xa5)));
    QVERIFY(!contains(image, QRect(100, 5, 70, 30), qRgb(0x2f, 0x63, 0xa5)));

    box.view()->ensurePolished();
    QCOMPARE(box.view()->palette().color(QPalette::Text), QColor(0x81, 0x81, 0x81, 0xf2));
    QCOMPARE(box.view()->palette().color(QPalette::Highlight), QColor(0xd2, 0xd2, 0xd2));
}

void TestStyleSheet::spinBox()
{
    QSpinBox box;
    box.setRange(1, 9);
    box.setValue(1);
    box.resize(100, 30);
    QImage image = picture(box);
    QVERIFY(contains(image, QRect(80, 0, 20, 15), qRgb(0x2f, 0x63, 0xa5)));
    QVERIFY(contains(image, QRect(80, 15, 20, 15), qRgb(0x88, 0x88, 0x88))); // no way down from the minimum
    box.setValue(9);
    image = picture(box);
    QVERIFY(contains(image, QRect(80, 0, 20, 15), qRgb(0x88, 0x88, 0x88)));
    QVERIFY(contains(image, QRect(80, 15, 20, 15), qRgb(0x2f, 0x63, 0xa5)));
    box.setEnabled(false);
    image = picture(box);
    QVERIFY(!contains(image, QRect(80, 0, 20, 30), qRgb(0x2f, 0x63, 0xa5)));
}

void TestStyleSheet::table()
{
    QStandardItemModel model(4, 2);
    model.setHorizontalHeaderLabels({QStringLiteral("a"), QStringLiteral("b")});
    QTableView view;
    view.setModel(&model);
    view.setAlternatingRowColors(true);
    view.setSelectionBehavior(QAbstractItemView::SelectRows);
    view.setSortingEnabled(true);
    view.sortByColumn(0, Qt::AscendingOrder);
    view.verticalHeader()->hide();
    view.verticalHeader()->setDefaultSectionSize(40);
    view.setColumnWidth(0, 150);
    view.resize(400, 300);
    view.show();
    view.selectRow(2);
    const QImage image = picture(view);
    const int top = view.viewport()->y();
    QCOMPARE(view.viewport()->x(), 0); // no border
    QCOMPARE(hex(image.pixel(60, 3)), QStringLiteral("#f7f9fc"));
    QCOMPARE(hex(image.pixel(60, top - 1)), QStringLiteral("#eaeff2"));           // underline of the header
    QVERIFY(contains(image, QRect(130, 2, 20, top - 4), qRgb(0x88, 0x88, 0x88))); // the sort arrow
    QVERIFY(!contains(image, QRect(280, 2, 20, top - 4), qRgb(0x88, 0x88, 0x88)));
    QCOMPARE(hex(image.pixel(60, top + 20)), QStringLiteral("#f7f9fc"));
    QCOMPARE(hex(image.pixel(60, top + 60)), QStringLiteral("#e1e1e1"));
    QCOMPARE(hex(image.pixel(60, top + 100)), QStringLiteral("#d2d2d2"));
    QCOMPARE(hex(image.pixel(60, top + 39)), QStringLiteral("#eaeff2")); // grid
    QCOMPARE(hex(image.pixel(149, top + 20)), QStringLiteral("#eaeff2"));
    QCOMPARE(view.font().pixelSize(), 15);
    QVERIFY(view.horizontalHeader()->height() >= 30 && view.horizontalHeader()->height() <= 40);
}

void TestStyleSheet::panel()
{
    QWidget window;
    auto* layout = new QVBoxLayout(&window);
    auto* box = new QWidget;
    box->setObjectName(QStringLiteral("tableViewBox"));
    layout->addWidget(box);
    window.resize(200, 200);
    layout->activate();
    const QImage image = picture(window);
    const QRect place = box->geometry();
    QCOMPARE(hex(image.pixel(place.center())), QStringLiteral("#f7f9fc"));
    QCOMPARE(hex(image.pixel(place.center().x(), place.top())), QStringLiteral("#d2d2d2"));
    QCOMPARE(image.pixel(place.topLeft()), image.pixel(2, 2)); // the round corner shows the ground
}

void TestStyleSheet::scrollBar()
{
    QTextEdit text(QStringLiteral("line\n").repeated(50));
    text.resize(200, 100);
    text.show();
    QCOMPARE(text.verticalScrollBar()->width(), 8);
    text.verticalScrollBar()->setValue(0);
    const QImage image = picture(*text.verticalScrollBar());
    QCOMPARE(hex(image.pixel(4, 10)), QStringLiteral("#d2d2d2")); // the handle starts at the top: there are no arrows
}

void TestStyleSheet::loadingWindow()
{
    QWidget parent;
    parent.resize(300, 200);
    auto* overlay = new LoadingWindow(&parent);
    const QList<QLabel*> labels = overlay->findChildren<QLabel*>();
    QCOMPARE(labels.size(), 2);
    for (QLabel* label : labels) {
        label->ensurePolished();
        QCOMPARE(label->palette().color(QPalette::WindowText), QColor(Qt::white));
    }
}

void TestStyleSheet::statusBarButton()
{
    QStatusBar bar;
    auto* button = new QPushButton(QStringLiteral("Name [00:00:10]"));
    button->setFlat(true);
    bar.addWidget(button);
    bar.resize(400, 40);
    bar.show();
    const QImage image = picture(bar);
    QCOMPARE(hex(image.pixel(390, 5)), QStringLiteral("#f7f9fc"));
    const QPoint under(button->x() + button->width() / 2, button->geometry().bottom());
    QCOMPARE(hex(image.pixel(button->x() + 6, button->geometry().center().y())), QStringLiteral("#f7f9fc"));
    QVERIFY(qGray(image.pixel(under)) < qGray(image.pixel(390, 5)) - 30); // a quarter of black over it
}

QTEST_MAIN(TestStyleSheet)
#include "TestStyleSheet.moc"
