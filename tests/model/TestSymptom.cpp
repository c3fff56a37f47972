// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Question.h"
#include "model/Symptom.h"
#include "model/SymptomsTableColumn.h"

#include <QDateTime>
#include <QTest>

class TestSymptom : public QObject
{
    Q_OBJECT

private slots:
    void hasFields();
    void hasValues();
    void copies();
    void columnHasFields();
    void questionHasFields();
};

void TestSymptom::hasFields()
{
    const Symptom empty;
    QCOMPARE(empty.isCustom(), false);
    QVERIFY(empty.translation().isEmpty());

    Symptom symptom(7, QStringLiteral("Cough"), true);
    QCOMPARE(symptom.id(), 7);
    QCOMPARE(symptom.translation(), QStringLiteral("Cough"));
    QCOMPARE(symptom.isCustom(), true);
    symptom.setId(8);
    symptom.setTranslation(QStringLiteral("Ache"));
    symptom.setIsCustom(false);
    QCOMPARE(symptom.id(), 8);
    QCOMPARE(symptom.translation(), QStringLiteral("Ache"));
    QCOMPARE(symptom.isCustom(), false);
}

void TestSymptom::hasValues()
{
    Symptom symptom(7, QStringLiteral("Cough"), false);
    QVERIFY(!symptom.value(QStringLiteral("a")).isValid());
    symptom.setValue(QStringLiteral("a"), 0);
    symptom.setValue(QStringLiteral("b"), 1.5F);
    // A stored 0 is a value.
    QVERIFY(symptom.value(QStringLiteral("a")).isValid());
    QCOMPARE(symptom.value(QStringLiteral("a")), QVariant(0.0F));
    QCOMPARE(symptom.value(QStringLiteral("b")), QVariant(1.5F));
    QCOMPARE(int(symptom.value(QStringLiteral("b")).userType()), int(QMetaType::Float));
    QVERIFY(!symptom.value(QStringLiteral("A")).isValid());
    symptom.setValue(QStringLiteral("b"), 2);
    QCOMPARE(symptom.value(QStringLiteral("b")), QVariant(2.0F));
    symptom.setValue(QString(), 3);
    QCOMPARE(symptom.value(QString()), QVariant(3.0F));
}

void TestSymptom::copies()
{
    Symptom symptom(7, QStringLiteral("Cough"), false);
    symptom.setValue(QStringLiteral("a"), 1);
    Symptom copy = symptom;
    copy.setValue(QStringLiteral("a"), 2);
    copy.setTranslation(QStringLiteral("Ache"));
    QCOMPARE(symptom.value(QStringLiteral("a")).toFloat(), 1.0F);
    QCOMPARE(symptom.translation(), QStringLiteral("Cough"));
    QCOMPARE(copy.value(QStringLiteral("a")).toFloat(), 2.0F);
}

void TestSymptom::columnHasFields()
{
    const SymptomsTableColumn empty;
    QVERIFY(empty.id().isEmpty());
    QVERIFY(!empty.recordDate().isValid());

    const QDateTime date(QDate(2024, 5, 6), QTime(7, 8, 9), Qt::UTC);
    SymptomsTableColumn column(QStringLiteral("r1"), date);
    QCOMPARE(column.id(), QStringLiteral("r1"));
    QCOMPARE(column.recordDate(), date);
    column.setId(QStringLiteral("r2"));
    column.setRecordDate(date.addDays(1));
    QCOMPARE(column.id(), QStringLiteral("r2"));
    QCOMPARE(column.recordDate(), date.addDays(1));
}

void TestSymptom::questionHasFields()
{
    Question question;
    QVERIFY(question.getSymptom().isEmpty());
    QVERIFY(question.getIntensities().isEmpty());
    question.setId(3);
    question.setSymptom(QStringLiteral("Cough"));
    question.getIntensities().insert(QStringLiteral("r1"), 2);
    QCOMPARE(question.getId(), 3);
    QCOMPARE(question.getSymptom(), QStringLiteral("Cough"));
    const Question copy = question;
    question.getIntensities().clear();
    QCOMPARE(copy.getIntensities().value(QStringLiteral("r1")), 2.0F);
}

QTEST_APPLESS_MAIN(TestSymptom)

#include "TestSymptom.moc"
