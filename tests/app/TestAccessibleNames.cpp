// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/MainWindow.h"
#include "app/init.h"
#include "app/switchTranslator.h"
#include "tests/app/Stations.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/SoundServer.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QRegularExpression>
#include <QTest>
#include <QTranslator>

#include <memory>

namespace {

const char* const locales[] = {"en_US", "ru_RU", "de_DE", "pl_PL"};

QString nameOf(QWidget* widget)
{
    QAccessibleInterface* const told = QAccessible::queryAccessibleInterface(widget);
    QString name = told == nullptr ? QString() : told->text(QAccessible::Name);
    // On some platforms a combo box tells its choice as its name, and what it chooses by a label or a description.
    if (qobject_cast<QComboBox*>(widget) != nullptr) {
        name = widget->accessibleName();
        const QList<QLabel*> labels = widget->window()->findChildren<QLabel*>();
        for (const QLabel* label : labels) {
            name += label->buddy() == widget ? label->text() : QString();
        }
        if (!widget->accessibleName().isEmpty() && told->text(QAccessible::Description) != widget->accessibleName()) {
            name.clear();
        }
    }
    return name.trimmed();
}

/// Whether the text is a key that no language has.
bool isKey(const QString& text)
{
    static const QRegularExpression key(QStringLiteral("^(Text|Title|Dialog|Form|Menu|Complaint)\\.\\w+$"));
    return key.match(text).hasMatch();
}

} // namespace

/// What a screen reader is told of every control.
class TestAccessibleNames : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup() { guard->verify(); }

    void everyControlHasAName_data();
    void everyControlHasAName();
    void headerTellsItsSection();

private:
    void speak(const QString& locale);

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<Stations> stations;
    QTranslator translator;
};

void TestAccessibleNames::initTestCase()
{
    SoundServer::hideAll();
    guard = std::make_unique<MessageGuard>();
    stations = std::make_unique<Stations>();
}

void TestAccessibleNames::cleanupTestCase()
{
    stations.reset();
    guard.reset();
}

void TestAccessibleNames::speak(const QString& locale)
{
    switchTranslator(translator, QStringLiteral("Translation_%1.qm").arg(locale));
    QVERIFY(QCoreApplication::translate("QObject", "Text.error") != QLatin1String("Text.error"));
}

void TestAccessibleNames::everyControlHasAName_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("station");
    const QStringList all = Stations::screens() + Stations::dialogs();
    for (const char* const locale : locales) {
        for (const QString& name : all) {
            QTest::addRow("%s, %s", locale, qPrintable(name)) << QString::fromLatin1(locale) << name;
        }
    }
}

void TestAccessibleNames::everyControlHasAName()
{
    QFETCH(QString, locale);
    QFETCH(QString, station);
    speak(locale);
    stations->visit(station, [](QWidget* window) {
        int looked = 0;
        QStringList nameless;
        const QList<QWidget*> all = window->findChildren<QWidget*>();
        for (QWidget* widget : all) {
            const auto* const button = qobject_cast<QAbstractButton*>(widget);
            const bool stop = (widget->focusPolicy() & Qt::TabFocus) != 0 && widget->focusProxy() == nullptr;
            if (!widget->isVisible() || widget->window() != window || (!stop && button == nullptr) ||
                widget->inherits("QTableCornerButton")) {
                continue;
            }
            const QString name = nameOf(widget);
            ++looked;
            // A button of words has its words; one without has to have a name of its own.
            if (name.isEmpty() || isKey(name) ||
                (button != nullptr && button->text().isEmpty() && widget->accessibleName().isEmpty())) {
                nameless.append(QString::fromLatin1(widget->metaObject()->className()) + QLatin1Char(' ') +
                                widget->objectName() + QStringLiteral(" \"%1\"").arg(name));
            }
        }
        QVERIFY2(nameless.isEmpty(), qPrintable(nameless.join(QLatin1Char('\n'))));
        QVERIFY(looked > 0);
    });
}

void TestAccessibleNames::headerTellsItsSection()
{
    speak(QStringLiteral("en_US"));
    stations->visit(QStringLiteral("ViewPatient"), [this](QWidget*) {
        QHeaderView* stop = nullptr;
        const QList<QHeaderView*> all = stations->screen()->findChildren<QHeaderView*>();
        for (QHeaderView* each : all) {
            stop = each->focusPolicy() == Qt::TabFocus ? each : stop;
        }
        QVERIFY(stop != nullptr);
        stop->setFocus(Qt::TabFocusReason);
        QTest::keyClick(stop, Qt::Key_Home);
        QCOMPARE(nameOf(stop), QStringLiteral("All records"));
        QTest::keyClick(stop, Qt::Key_End);
        QTest::keyClick(stop, Qt::Key_Left);
        QCOMPARE(nameOf(stop), QCoreApplication::translate("RecordModel", "Text.questionnaire"));
    });
}

int main(int argc, char* argv[])
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication app(argc, argv);
    init(app);
    QApplication::setQuitOnLastWindowClosed(false);
    TestAccessibleNames test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestAccessibleNames.moc"
