// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Constants.h"
#include "app/DialogAbout.h"
#include "net/Authentication.h"
#include "tests/support/MessageGuard.h"

#include <QBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTextCursor>
#include <QTextDocument>
#include <QTimer>

#include <functional>
#include <memory>

namespace {

void setExpiredAt(const QJsonValue& value)
{
    Authentication::getInstance()->init({{QStringLiteral("expiredAt"), value}});
}

} // namespace

class TestDialogAbout : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { guard = std::make_unique<MessageGuard>(); }
    void init() { setExpiredAt(QStringLiteral("2027-01-01")); }
    void cleanup() { guard->verify(); }
    void cleanupTestCase() { guard.reset(); }

    void formIsAsNamed();
    void labels_data();
    void labels();
    void rowsStandInOrder();
    void titleAndValueStandSideBySide_data();
    void titleAndValueStandSideBySide();
    void copyrightIsRich();
    void expiryStandsAsTheServerSaidIt_data();
    void expiryStandsAsTheServerSaidIt();
    void expiryIsOfTheSessionAtTheOpening();
    void everyWayOutRejects_data();
    void everyWayOutRejects();

private:
    std::unique_ptr<MessageGuard> guard;
};

void TestDialogAbout::formIsAsNamed()
{
    QWidget parent;
    const DialogAbout dialog(&parent);
    QCOMPARE(dialog.parentWidget(), &parent);
    QCOMPARE(dialog.objectName(), QStringLiteral("DialogAbout"));
    QCOMPARE(dialog.size(), QSize(350, 300));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Text.about"));
}

void TestDialogAbout::labels_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("labelProgramName") << QString::fromLatin1(Constants::NAME);
    QTest::newRow("labelProgramType") << QStringLiteral("Text.aboutProgramType");
    QTest::newRow("labelVersionTitle") << QStringLiteral("Text.aboutVersion");
    QTest::newRow("labelVersionNumber") << QString::fromLatin1(Constants::VERSION);
    QTest::newRow("labelEmailTitle") << QStringLiteral("Text.aboutEmail");
    QTest::newRow("labelEmail") << QString::fromLatin1(Constants::EMAIL);
    QTest::newRow("labelWebsiteTitle") << QStringLiteral("Text.aboutWebsite");
    QTest::newRow("labelWebsite") << QString::fromLatin1(Constants::WEBSITE);
    QTest::newRow("labelExpiredAtTitle") << QStringLiteral("Text.expiredAt");
    QTest::newRow("labelExpiredAt") << QStringLiteral("2027-01-01");
}

void TestDialogAbout::labels()
{
    QFETCH(QString, text);
    const DialogAbout dialog(nullptr);
    const auto* const label = dialog.findChild<QLabel*>(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(label != nullptr);
    QCOMPARE(label->text(), text);
}

void TestDialogAbout::rowsStandInOrder()
{
    DialogAbout dialog(nullptr);
    QVERIFY(qobject_cast<QVBoxLayout*>(dialog.layout()) != nullptr);
    QCOMPARE(dialog.layout()->objectName(), QStringLiteral("verticalLayout"));
    dialog.show();
    const char* const names[] = {"labelProgramName",  "labelProgramType",    "labelVersionTitle", "labelEmailTitle",
                                 "labelWebsiteTitle", "labelExpiredAtTitle", "labelCopyright",    "buttonClose"};
    int bottom = -1;
    for (const char* const name : names) {
        const auto* const widget = dialog.findChild<QWidget*>(QString::fromLatin1(name));
        QVERIFY2(widget != nullptr, name);
        QVERIFY2(widget->isVisible() && widget->height() > 0, name);
        QVERIFY2(widget->geometry().top() > bottom, name);
        bottom = widget->geometry().bottom();
    }
}

void TestDialogAbout::titleAndValueStandSideBySide_data()
{
    QTest::addColumn<QByteArray>("title");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("horizontalLayout") << QByteArray("labelVersionTitle") << QByteArray("labelVersionNumber");
    QTest::newRow("horizontalLayout_3") << QByteArray("labelEmailTitle") << QByteArray("labelEmail");
    QTest::newRow("horizontalLayout_4") << QByteArray("labelWebsiteTitle") << QByteArray("labelWebsite");
    QTest::newRow("horizontalLayout_5") << QByteArray("labelExpiredAtTitle") << QByteArray("labelExpiredAt");
    QTest::newRow("horizontalLayout_2") << QByteArray() << QByteArray("buttonClose");
}

void TestDialogAbout::titleAndValueStandSideBySide()
{
    QFETCH(QByteArray, title);
    QFETCH(QByteArray, value);
    DialogAbout dialog(nullptr);
    dialog.show();
    const auto* const layout = dialog.findChild<QHBoxLayout*>(QString::fromLatin1(QTest::currentDataTag()));
    QVERIFY(layout != nullptr);
    auto* const right = dialog.findChild<QWidget*>(QString::fromLatin1(value));
    QVERIFY(right != nullptr);
    QVERIFY(layout->indexOf(right) >= 0);
    if (!title.isEmpty()) {
        auto* const left = dialog.findChild<QWidget*>(QString::fromLatin1(title));
        QVERIFY(left != nullptr);
        QVERIFY(layout->indexOf(left) >= 0);
        QVERIFY(left->geometry().right() < right->geometry().left());
        QCOMPARE(left->geometry().center().y(), right->geometry().center().y());
    }
}

void TestDialogAbout::copyrightIsRich()
{
    const DialogAbout dialog(nullptr);
    const auto* const label = dialog.findChild<QLabel*>(QStringLiteral("labelCopyright"));
    QVERIFY(label != nullptr);
    QCOMPARE(label->textFormat(), Qt::RichText);
    QTextDocument shown;
    shown.setHtml(label->text());
    const QString plain = shown.toPlainText();
    const QString name = QString::fromLatin1(Constants::ORG_NAME);
    QCOMPARE(plain, QStringLiteral("\u00a92021 ") + name);
    const auto isBold = [&shown](const QString& part) {
        const QTextCursor cursor = shown.find(part);
        return cursor.charFormat().fontWeight() == QFont::Bold;
    };
    QVERIFY(!isBold(QStringLiteral("\u00a9")));
    QVERIFY(isBold(QStringLiteral("2021")));
    QVERIFY(!isBold(name));
}

void TestDialogAbout::expiryStandsAsTheServerSaidIt_data()
{
    QTest::addColumn<QJsonValue>("said");
    QTest::addColumn<QString>("shown");
    QTest::newRow("date") << QJsonValue(QStringLiteral("2027-01-01")) << QStringLiteral("2027-01-01");
    // Nothing is compared with it: a date that has passed is a date like others.
    QTest::newRow("past") << QJsonValue(QStringLiteral("1999-12-31")) << QStringLiteral("1999-12-31");
    QTest::newRow("words") << QJsonValue(QStringLiteral("never ever")) << QStringLiteral("never ever");
    QTest::newRow("markup") << QJsonValue(QStringLiteral("<b>soon</b>")) << QStringLiteral("<b>soon</b>");
    QTest::newRow("none") << QJsonValue() << QString();
    QTest::newRow("number") << QJsonValue(2027) << QString();
}

void TestDialogAbout::expiryStandsAsTheServerSaidIt()
{
    QFETCH(QJsonValue, said);
    QFETCH(QString, shown);
    setExpiredAt(said);
    DialogAbout dialog(nullptr);
    const auto* const label = dialog.findChild<QLabel*>(QStringLiteral("labelExpiredAt"));
    QCOMPARE(label->text(), shown);
    // Markup would be drawn narrower than its letters are.
    QCOMPARE(label->textFormat(), Qt::PlainText);
    dialog.show();
    QVERIFY(label->width() >= label->fontMetrics().horizontalAdvance(shown));
}

void TestDialogAbout::expiryIsOfTheSessionAtTheOpening()
{
    const DialogAbout before(nullptr);
    setExpiredAt(QStringLiteral("2030-05-05"));
    const DialogAbout after(nullptr);
    QCOMPARE(before.findChild<QLabel*>(QStringLiteral("labelExpiredAt"))->text(), QStringLiteral("2027-01-01"));
    QCOMPARE(after.findChild<QLabel*>(QStringLiteral("labelExpiredAt"))->text(), QStringLiteral("2030-05-05"));
}

void TestDialogAbout::everyWayOutRejects_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("button") << 0;
    QTest::newRow("return") << 1;
    QTest::newRow("escape") << 2;
    QTest::newRow("window button") << 3;
}

void TestDialogAbout::everyWayOutRejects()
{
    QFETCH(int, way);
    DialogAbout dialog(nullptr);
    QTimer::singleShot(0, &dialog, [&dialog, way] {
        QVERIFY(dialog.isVisible());
        switch (way) {
        case 0:
            QTest::mouseClick(dialog.findChild<QPushButton*>(QStringLiteral("buttonClose")), Qt::LeftButton);
            break;
        case 1:
            QTest::keyClick(&dialog, Qt::Key_Return);
            break;
        case 2:
            QTest::keyClick(&dialog, Qt::Key_Escape);
            break;
        default:
            dialog.close();
        }
    });
    QTimer::singleShot(8000, &dialog, [&dialog] {
        QTest::qFail("The dialog did not end", __FILE__, __LINE__);
        dialog.done(-1);
    });
    QCOMPARE(dialog.exec(), static_cast<int>(QDialog::Rejected));
    QVERIFY(!dialog.isVisible());
}

QTEST_MAIN(TestDialogAbout)
#include "TestDialogAbout.moc"
