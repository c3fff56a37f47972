// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Patient.h"
#include "patients/FormPatient.h"
#include "signal/Utils.h"
#include "tests/patients/Samples.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QIntValidator>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTextEdit>

#include <memory>

class TestFormPatient : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void cleanupTestCase() { guard.reset(); }

    void init()
    {
        form = std::make_unique<FormPatient>();
        submits = std::make_unique<QSignalSpy>(form.get(), &FormPatient::onSubmit);
        patient = Patient();
        submitted = nullptr;
        connect(form.get(), &FormPatient::onSubmit, this, [this](Patient* value) { submitted = value; });
    }

    void cleanup()
    {
        submits.reset();
        form.reset();
        guard->verify();
    }

    void widgets()
    {
        QVERIFY(form->parent() == nullptr);
        QCOMPARE(form->size(), QSize(803, 347));
        QCOMPARE(form->layout()->objectName(), QStringLiteral("gridLayout"));
        for (const char* const name :
             {"horizontalLayout", "horizontalLayout_5", "horizontalLayout_2", "verticalLayout", "horizontalLayout_4"}) {
            QVERIFY2(form->findChild<QLayout*>(QString::fromLatin1(name)) != nullptr, name);
        }
        QVERIFY(!child<QLabel>("iconLabel")->pixmap(Qt::ReturnByValue).isNull());
        QCOMPARE(child<QLabel>("iconLabel")->minimumSize(), QSize(32, 32));
        QCOMPARE(child<QLabel>("iconLabel")->maximumSize(), QSize(32, 32));
        QCOMPARE(child<QFrame>("line")->frameShape(), QFrame::HLine);
        QCOMPARE(child<QFrame>("line")->frameShadow(), QFrame::Sunken);

        auto* const name = child<QLineEdit>("nameField");
        QCOMPARE(name->minimumSize(), QSize(240, 40));
        QCOMPARE(name->maxLength(), 255);
        QCOMPARE(name->placeholderText(), QStringLiteral("Text.name"));
        auto* const day = child<QLineEdit>("birthDateDayField");
        QCOMPARE(day->minimumWidth(), 40);
        QCOMPARE(day->maximumWidth(), 60);
        QCOMPARE(day->minimumHeight(), 40);
        QCOMPARE(day->maximumHeight(), 40);
        QCOMPARE(day->maxLength(), 3);
        QCOMPARE(day->placeholderText(), QStringLiteral("Text.day"));
        const auto* const validator = qobject_cast<const QIntValidator*>(day->validator());
        QVERIFY(validator != nullptr);
        QCOMPARE(validator->bottom(), 1);
        QCOMPARE(validator->top(), 31);
        QCOMPARE(child<QComboBox>("birthDateMonthBox")->minimumSize(), QSize(140, 40));
        auto* const year = child<QLineEdit>("birthDateYearField");
        QCOMPARE(year->minimumWidth(), 40);
        QCOMPARE(year->maximumWidth(), 70);
        QCOMPARE(year->maximumHeight(), 40);
        QCOMPARE(year->maxLength(), 5);
        QCOMPARE(year->placeholderText(), QStringLiteral("Text.year"));
        QVERIFY(year->validator() == nullptr);
        for (const char* const button : {"buttonGenderMale", "buttonGenderFemale"}) {
            QVERIFY(child<QPushButton>(button)->isCheckable());
            QVERIFY(!child<QPushButton>(button)->icon().isNull());
            QCOMPARE(child<QPushButton>(button)->minimumSize(), QSize(40, 40));
        }
        QCOMPARE(child<QPushButton>("buttonGenderMale")->toolTip(), QStringLiteral("Text.male"));
        QCOMPARE(child<QPushButton>("buttonGenderFemale")->toolTip(), QStringLiteral("Text.female"));
        auto* const phone = child<QLineEdit>("phoneField");
        QCOMPARE(phone->minimumSize(), QSize(240, 40));
        QCOMPARE(phone->maxLength(), 100);
        QCOMPARE(phone->placeholderText(), QStringLiteral("Form.phone"));
        QCOMPARE(child<QLabel>("notesLabel")->text(), QStringLiteral("Form.notes"));
        QCOMPARE(child<QLabel>("notesLabel")->alignment(), Qt::AlignLeft | Qt::AlignTop);
        QVERIFY(child<QTextEdit>("notesField") != nullptr);
        QCOMPARE(child<QCheckBox>("agreement")->text(), QStringLiteral("Form.patientAgreement"));
        QCOMPARE(child<QPushButton>("buttonCancel")->text(), QStringLiteral("Text.cancel"));
        QCOMPARE(child<QPushButton>("buttonCancel")->minimumHeight(), 40);
        QCOMPARE(child<QPushButton>("buttonSave")->text(), QStringLiteral("Text.save"));
        QCOMPARE(child<QPushButton>("buttonSave")->minimumHeight(), 40);
    }

    void months()
    {
        const QStringList names{
            QStringLiteral("Text.January"), QStringLiteral("Text.February"), QStringLiteral("Text.March"),
            QStringLiteral("Text.April"),   QStringLiteral("Text.May"),      QStringLiteral("Text.June"),
            QStringLiteral("Text.July"),    QStringLiteral("Text.August"),   QStringLiteral("Text.September"),
            QStringLiteral("Text.October"), QStringLiteral("Text.November"), QStringLiteral("Text.December")};
        auto* const box = child<QComboBox>("birthDateMonthBox");
        QCOMPARE(box->count(), 12);
        for (int month = 0; month < 12; ++month) {
            QCOMPARE(box->itemText(month), names.at(month));
            QCOMPARE(Utils::getMonthName(month), names.at(month));
        }
        for (const int month : {-1, 12, 13}) {
            QCOMPARE(Utils::getMonthName(month), QString());
        }
    }

    void newPatient()
    {
        form->edit(&patient);
        QCOMPARE(child<QLabel>("labelTitle")->text(), QStringLiteral("Dialog.createPatient"));
        for (const char* const name : {"nameField", "birthDateDayField", "birthDateYearField", "phoneField"}) {
            QVERIFY(child<QLineEdit>(name)->text().isEmpty());
        }
        QVERIFY(child<QTextEdit>("notesField")->toPlainText().isEmpty());
        QVERIFY(!child<QCheckBox>("agreement")->isChecked());
        QVERIFY(!child<QPushButton>("buttonSave")->isEnabled());
        QVERIFY(child<QPushButton>("buttonGenderMale")->isChecked());
        QVERIFY(!child<QPushButton>("buttonGenderFemale")->isChecked());
        child<QCheckBox>("agreement")->click();
        QVERIFY(child<QPushButton>("buttonSave")->isEnabled());
        child<QCheckBox>("agreement")->click();
        QVERIFY(!child<QPushButton>("buttonSave")->isEnabled());
    }

    void knownPatient()
    {
        patient = Patient(Samples::patient(QStringLiteral("p1")));
        form->edit(&patient);
        QCOMPARE(child<QLabel>("labelTitle")->text(), QStringLiteral("Dialog.editPatient"));
        QCOMPARE(child<QLineEdit>("nameField")->text(), QStringLiteral("Anna Berg"));
        QCOMPARE(child<QLineEdit>("birthDateDayField")->text(), QStringLiteral("17"));
        QCOMPARE(child<QComboBox>("birthDateMonthBox")->currentIndex(), 4);
        QCOMPARE(child<QLineEdit>("birthDateYearField")->text(), QStringLiteral("1980"));
        QCOMPARE(child<QLineEdit>("phoneField")->text(), QStringLiteral("+7 900 1"));
        QCOMPARE(child<QTextEdit>("notesField")->toPlainText(), QStringLiteral("careful"));
        QVERIFY(child<QCheckBox>("agreement")->isChecked());
        QVERIFY(child<QPushButton>("buttonSave")->isEnabled());
        QVERIFY(!child<QPushButton>("buttonGenderMale")->isChecked());
        QVERIFY(child<QPushButton>("buttonGenderFemale")->isChecked());
        child<QCheckBox>("agreement")->click();
        QVERIFY(!child<QPushButton>("buttonSave")->isEnabled());
    }

    void emptyIdIsAnEdit()
    {
        patient = Patient(QJsonObject{{QStringLiteral("id"), QStringLiteral("")}});
        form->edit(&patient);
        QCOMPARE(child<QLabel>("labelTitle")->text(), QStringLiteral("Dialog.editPatient"));
    }

    void invalidDate()
    {
        QJsonObject json = Samples::patient(QStringLiteral("p1"));
        json.remove(QStringLiteral("birthDate"));
        patient = Patient(json);
        form->edit(&patient);
        QCOMPARE(child<QLineEdit>("birthDateDayField")->text(), QString::number(QDate().day()));
        QCOMPARE(child<QLineEdit>("birthDateYearField")->text(), QString::number(QDate().year()));
        QCOMPARE(child<QComboBox>("birthDateMonthBox")->currentIndex(), -1);
        // Saved as it is, the date stays invalid.
        child<QPushButton>("buttonSave")->click();
        QVERIFY(!patient.getBirthDate().isValid());
        QCOMPARE(submits->count(), 1);
    }

    void genderButtons()
    {
        form->edit(&patient);
        auto* const male = child<QPushButton>("buttonGenderMale");
        auto* const female = child<QPushButton>("buttonGenderFemale");
        female->click();
        QVERIFY(!male->isChecked());
        QVERIFY(female->isChecked());
        // A second click does not take the choice back.
        female->click();
        QVERIFY(female->isChecked());
        QVERIFY(!male->isChecked());
        form->onSave();
        QCOMPARE(patient.getGender(), QStringLiteral("FEMALE"));
        male->click();
        male->click();
        QVERIFY(male->isChecked());
        QVERIFY(!female->isChecked());
        form->onSave();
        QCOMPARE(patient.getGender(), QStringLiteral("MALE"));
    }

    void unknownGenderShowsAsFemale()
    {
        QJsonObject json = Samples::patient(QStringLiteral("p1"));
        json.insert(QStringLiteral("gender"), QStringLiteral("male"));
        patient = Patient(json);
        form->edit(&patient);
        QVERIFY(child<QPushButton>("buttonGenderFemale")->isChecked());
        form->onSave();
        QCOMPARE(patient.getGender(), QStringLiteral("male"));
    }

    void agreementStates()
    {
        form->edit(&patient);
        auto* const save = child<QPushButton>("buttonSave");
        form->onAgreementStateChanged(Qt::PartiallyChecked);
        QVERIFY(!save->isEnabled());
        form->onAgreementStateChanged(Qt::Checked);
        QVERIFY(save->isEnabled());
        form->onAgreementStateChanged(Qt::PartiallyChecked);
        QVERIFY(save->isEnabled());
        form->onAgreementStateChanged(Qt::Unchecked);
        QVERIFY(!save->isEnabled());
    }

    void saves()
    {
        form->edit(&patient);
        form->show();
        QTest::keyClicks(child<QLineEdit>("nameField"), QStringLiteral(" Clara "));
        QTest::keyClicks(child<QLineEdit>("birthDateDayField"), QStringLiteral("9"));
        child<QComboBox>("birthDateMonthBox")->setCurrentIndex(11);
        QTest::keyClicks(child<QLineEdit>("birthDateYearField"), QStringLiteral("1999"));
        QTest::keyClicks(child<QLineEdit>("phoneField"), QStringLiteral("123"));
        child<QTextEdit>("notesField")->setPlainText(QStringLiteral("one\ntwo"));
        child<QCheckBox>("agreement")->click();
        QTest::mouseClick(child<QPushButton>("buttonSave"), Qt::LeftButton);
        QCOMPARE(submits->count(), 1);
        QCOMPARE(submitted, &patient);
        QVERIFY(form->isVisible());
        QCOMPARE(patient.getName(), QStringLiteral(" Clara "));
        QCOMPARE(patient.getGender(), QStringLiteral("MALE"));
        QCOMPARE(patient.getBirthDate(), QDate(1999, 12, 9));
        QCOMPARE(patient.getNotes(), QStringLiteral("one\ntwo"));
        QCOMPARE(patient.getPhone(), QStringLiteral("123"));
        QVERIFY(patient.getId().isNull());
    }

    void emptyDates_data()
    {
        QTest::addColumn<QString>("day");
        QTest::addColumn<QString>("year");
        QTest::newRow("nothing") << QString() << QString();
        QTest::newRow("no day") << QString() << QStringLiteral("1999");
        QTest::newRow("no year") << QStringLiteral("9") << QString();
        QTest::newRow("no number") << QStringLiteral("9") << QStringLiteral("nine");
        QTest::newRow("huge year") << QStringLiteral("30") << QStringLiteral("99999");
    }

    void emptyDates()
    {
        QFETCH(QString, day);
        QFETCH(QString, year);
        form->edit(&patient);
        child<QComboBox>("birthDateMonthBox")->setCurrentIndex(1);
        child<QLineEdit>("birthDateDayField")->setText(day);
        child<QLineEdit>("birthDateYearField")->setText(year);
        form->onSave();
        QCOMPARE(submits->count(), 1);
        QVERIFY(!patient.getBirthDate().isValid());
    }

    void typingIsRestrained()
    {
        form->edit(&patient);
        auto* const day = child<QLineEdit>("birthDateDayField");
        QTest::keyClicks(day, QStringLiteral("a-2b5x"));
        QCOMPARE(day->text(), QStringLiteral("25"));
        auto* const name = child<QLineEdit>("nameField");
        name->insert(QString(300, QLatin1Char('x')));
        QCOMPARE(name->text().size(), 255);
    }

    void returnKey()
    {
        form->edit(&patient);
        form->show();
        // Return saves where that is allowed, and never presses another button.
        child<QPushButton>("buttonGenderFemale")->click();
        QTest::keyClick(child<QLineEdit>("nameField"), Qt::Key_Return);
        QCOMPARE(submits->count(), 0);
        QVERIFY(child<QPushButton>("buttonGenderFemale")->isChecked());
        QVERIFY(form->isVisible());
        child<QCheckBox>("agreement")->click();
        QTest::keyClick(child<QLineEdit>("nameField"), Qt::Key_Return);
        QCOMPARE(submits->count(), 1);
    }

    void cancels()
    {
        form->edit(&patient);
        ModalAnswer answer([this](QWidget* widget) { return widget == form.get(); },
                           [this](QWidget*) { child<QPushButton>("buttonCancel")->click(); });
        QCOMPARE(form->exec(), int(QDialog::Rejected));
        QVERIFY(answer.used());
        QCOMPARE(submits->count(), 0);
    }

    void saveWithoutPatient()
    {
        form->onSave();
        QCOMPARE(submits->count(), 0);
    }

    void roundTrip()
    {
        const Patient original(Samples::patient(QStringLiteral("p1")));
        patient = original;
        form->edit(&patient);
        form->onSave();
        QCOMPARE(patient.toJson(), original.toJson());
    }

private:
    template <typename T> T* child(const char* name) const { return form->findChild<T*>(QString::fromLatin1(name)); }

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<FormPatient> form;
    std::unique_ptr<QSignalSpy> submits;
    Patient patient;
    Patient* submitted = nullptr;
};

QTEST_MAIN(TestFormPatient)
#include "TestFormPatient.moc"
