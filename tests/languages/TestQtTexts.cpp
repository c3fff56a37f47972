// SPDX-License-Identifier: GPL-3.0-or-later
// The texts that Qt's own buttons, dialogs and menus show while the program speaks Russian.
#include "app/Dialogs.h"
#include "tests/languages/TranslationSource.h"
#include "tests/support/MessageGuard.h"
#include "tests/support/ModalAnswer.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QToolButton>
#include <QTranslator>
#include <QTreeView>

#include <memory>

namespace {

/// The program's translator, which also keeps what it was asked for in vain.
class WatchingTranslator : public QTranslator
{
public:
    QString translate(const char* context, const char* text, const char* comment, int n) const override
    {
        QString translation = QTranslator::translate(context, text, comment, n);
        // Qt asks a second time without the comment; only that answer counts.
        if (translation.isEmpty() && (comment == nullptr || *comment == '\0')) {
            missed.insert(QString::fromUtf8(context) + QLatin1Char('/') + QString::fromUtf8(text));
        }
        asked.insert(QString::fromUtf8(context) + QLatin1Char('/') + QString::fromUtf8(text));
        return translation;
    }

    mutable QSet<QString> asked;
    mutable QSet<QString> missed;
};

bool hasCyrillic(const QString& text)
{
    static const QRegularExpression cyrillic(QStringLiteral("\\p{Cyrillic}"),
                                             QRegularExpression::UseUnicodePropertiesOption);
    return text.contains(cyrillic);
}

QStringList entries(const QMenu& menu)
{
    QStringList texts;
    const QList<QAction*> actions = menu.actions();
    for (const QAction* action : actions) {
        if (!action->isSeparator()) {
            // What stands behind the tab is the key sequence.
            texts.append(action->text().section(QLatin1Char('\t'), 0, 0));
        }
    }
    return texts;
}

} // namespace

class TestQtTexts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void buttonsOfMessageBoxes();
    void buttonsOfQuestions();
    void inputDialog();
    void saveDialog();
    void openDialogs();
    void overwriteQuestion();
    void menusOfTheFileDialog();
    void menusOfTextFields();
    void menusOfScrollBarsAndSpinBoxes();
    void documentsFolder();
    void nothingWasMissed();

private:
    /// Sends a context menu event and gives the entries of the menu that comes.
    static QStringList menuOf(QWidget& widget, const QPoint& point);

    std::unique_ptr<MessageGuard> guard;
    std::unique_ptr<WatchingTranslator> translator;
    QTemporaryDir folder;
};

QStringList TestQtTexts::menuOf(QWidget& widget, const QPoint& point)
{
    QStringList texts;
    QTimer poll;
    connect(&poll, &QTimer::timeout, &poll, [&texts] {
        if (auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            texts = entries(*menu);
            menu->close();
        }
    });
    poll.start(10);
    QContextMenuEvent event(QContextMenuEvent::Mouse, point, widget.mapToGlobal(point));
    QApplication::sendEvent(&widget, &event);
    // Some widgets wait inside the event for the menu to close, others only show it.
    if (!QTest::qWaitFor([&texts] { return !texts.isEmpty(); })) {
        return {};
    }
    return texts;
}

void TestQtTexts::initTestCase()
{
    guard = std::make_unique<MessageGuard>();
    QVERIFY(folder.isValid());
    // The platform's own dialogs bring texts of their own.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QFile file(folder.filePath(QStringLiteral("a.wav")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write("abc"), qint64(3));
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("sub")));

    translator = std::make_unique<WatchingTranslator>();
    QVERIFY(translator->load(QCoreApplication::applicationDirPath() + QStringLiteral("/languages/Translation_ru_RU.qm"),
                             QStringLiteral(""), QStringLiteral(""), QStringLiteral("")));
    QVERIFY(QCoreApplication::installTranslator(translator.get()));
}

void TestQtTexts::cleanup()
{
    guard->verify();
}

void TestQtTexts::cleanupTestCase()
{
    QCoreApplication::removeTranslator(translator.get());
    guard.reset();
}

void TestQtTexts::buttonsOfMessageBoxes()
{
    QString button;
    ModalAnswer answer([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                       [&button](QWidget* widget) {
                           auto* const box = qobject_cast<QMessageBox*>(widget);
                           button = box->button(QMessageBox::Ok)->text();
                           box->accept();
                       });
    Dialogs::info(nullptr, QStringLiteral("title"), QStringLiteral("text"));
    QVERIFY(answer.used());
    QCOMPARE(button, QStringLiteral("ОК"));
    QVERIFY(button != QLatin1String("OK"));

    QMessageBox all(QMessageBox::Question, QString(), QString(),
                    QMessageBox::Ok | QMessageBox::Save | QMessageBox::SaveAll | QMessageBox::Open | QMessageBox::Yes |
                        QMessageBox::YesToAll | QMessageBox::No | QMessageBox::NoToAll | QMessageBox::Abort |
                        QMessageBox::Retry | QMessageBox::Ignore | QMessageBox::Close | QMessageBox::Cancel |
                        QMessageBox::Discard | QMessageBox::Help | QMessageBox::Apply | QMessageBox::Reset |
                        QMessageBox::RestoreDefaults);
    const QList<QAbstractButton*> buttons = all.buttons();
    QCOMPARE(buttons.size(), 18);
    for (const QAbstractButton* other : buttons) {
        QVERIFY2(hasCyrillic(other->text()), qPrintable(other->text()));
    }
    QCOMPARE(all.button(QMessageBox::Cancel)->text(), QStringLiteral("Отмена"));
    QCOMPARE(all.button(QMessageBox::Save)->text(), QStringLiteral("Сохранить"));
    all.setDetailedText(QStringLiteral("details"));
    bool details = false;
    for (const QPushButton* other : all.findChildren<QPushButton*>()) {
        details = details || other->text().contains(QStringLiteral("подробности"));
    }
    QVERIFY(details);
}

void TestQtTexts::buttonsOfQuestions()
{
    QStringList buttons;
    ModalAnswer answer([](QWidget* widget) { return qobject_cast<QMessageBox*>(widget) != nullptr; },
                       [&buttons](QWidget* widget) {
                           auto* const box = qobject_cast<QMessageBox*>(widget);
                           buttons =
                               QStringList({box->windowTitle(), box->text(), box->button(QMessageBox::Yes)->text(),
                                            box->button(QMessageBox::No)->text()});
                           box->reject();
                       });
    QVERIFY(!Dialogs::confirmDeletePatient(nullptr, QStringLiteral("Ада")));
    QVERIFY(answer.used());
    const TranslationSource source(TranslationSource::pathOf(QStringLiteral("ru_RU")));
    const QString object = QStringLiteral("QObject");
    QCOMPARE(buttons.at(0), source.translation(object, QStringLiteral("Dialog.deletePatient")));
    QCOMPARE(buttons.at(1),
             source.translation(object, QStringLiteral("Dialog.confirmDeletePatient")).arg(QStringLiteral("Ада")));
    QVERIFY(buttons.at(1).contains(QStringLiteral("Ада")));
    QCOMPARE(buttons.at(2), QStringLiteral("Да"));
    QCOMPARE(buttons.at(3), QStringLiteral("Нет"));
}

void TestQtTexts::inputDialog()
{
    QInputDialog dialog;
    dialog.setTextValue(QString());
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const auto buttons = dialog.findChildren<QPushButton*>();
    QCOMPARE(buttons.size(), 2);
    for (const QPushButton* button : buttons) {
        QVERIFY2(hasCyrillic(button->text()), qPrintable(button->text()));
    }
}

void TestQtTexts::saveDialog()
{
    QFileDialog dialog(nullptr, QStringLiteral("title"), folder.path(), QStringLiteral("*.wav"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setViewMode(QFileDialog::Detail);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));

    QStringList labels;
    for (const QLabel* label : dialog.findChildren<QLabel*>()) {
        if (!label->text().isEmpty()) {
            labels.append(label->text());
        }
    }
    labels.sort();
    QStringList wanted = {QStringLiteral("&Имя файла:"), QStringLiteral("Папка:"), QStringLiteral("Тип файлов:")};
    wanted.sort();
    QCOMPARE(labels, wanted);

    auto* const box = dialog.findChild<QDialogButtonBox*>();
    QVERIFY(box != nullptr);
    QCOMPARE(box->button(QDialogButtonBox::Save)->text(), QStringLiteral("&Сохранить"));
    QCOMPARE(box->button(QDialogButtonBox::Cancel)->text(), QStringLiteral("Отмена"));

    int toolTips = 0;
    for (const QToolButton* button : dialog.findChildren<QToolButton*>()) {
        if (!button->toolTip().isEmpty()) {
            QVERIFY2(hasCyrillic(button->toolTip()), qPrintable(button->toolTip()));
            ++toolTips;
        }
    }
    QCOMPARE(toolTips, 6);

    auto* const tree = dialog.findChild<QTreeView*>();
    QVERIFY(tree != nullptr);
    for (int column = 0; column < 4; ++column) {
        const QString header = tree->model()->headerData(column, Qt::Horizontal).toString();
        QVERIFY2(hasCyrillic(header), qPrintable(header));
    }
    auto* const model = dialog.findChild<QFileSystemModel*>();
    QVERIFY(model != nullptr);
    const QModelIndex file = model->index(folder.filePath(QStringLiteral("a.wav")), 2);
    QTRY_COMPARE(model->data(file).toString(), QStringLiteral("Файл wav"));
    const QModelIndex sub = model->index(folder.filePath(QStringLiteral("sub")), 2);
    QTRY_COMPARE(model->data(sub).toString(), QStringLiteral("Папка"));
}

void TestQtTexts::openDialogs()
{
    QFileDialog open(nullptr, QString(), folder.path());
    open.setAcceptMode(QFileDialog::AcceptOpen);
    open.show();
    QVERIFY(QTest::qWaitForWindowExposed(&open));
    QCOMPARE(open.selectedNameFilter(), QStringLiteral("Все файлы (*)"));
    QCOMPARE(open.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open)->text(), QStringLiteral("&Открыть"));
    QVERIFY(hasCyrillic(open.windowTitle()));
    open.close();

    QFileDialog choose(nullptr, QString(), folder.path());
    choose.setFileMode(QFileDialog::Directory);
    choose.show();
    QVERIFY(QTest::qWaitForWindowExposed(&choose));
    QCOMPARE(choose.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open)->text(), QStringLiteral("&Выбрать"));

    // A folder that is not there.
    choose.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(QStringLiteral("nowhere"));
    BoxAnswer answer(QMessageBox::Ok);
    QVERIFY(QMetaObject::invokeMethod(&choose, "accept"));
    QVERIFY(answer.used());
    QVERIFY2(answer.text.startsWith(QStringLiteral("nowhere\nПапка не найдена.")), qPrintable(answer.text));
}

void TestQtTexts::overwriteQuestion()
{
    QFileDialog dialog(nullptr, QString(), folder.path());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(QStringLiteral("a.wav"));
    BoxAnswer answer(QMessageBox::No);
    QVERIFY(QMetaObject::invokeMethod(&dialog, "accept"));
    QVERIFY(answer.used());
    QCOMPARE(answer.text, QStringLiteral("Файл a.wav уже существует.\nЗаменить его?"));
    QVERIFY(dialog.isVisible());
}

void TestQtTexts::menusOfTheFileDialog()
{
    QFileDialog dialog(nullptr, QString(), folder.path());
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    auto* const list = dialog.findChild<QAbstractItemView*>(QStringLiteral("listView"));
    QVERIFY(list != nullptr);
    // Renaming and deleting are offered on a file only, and the files come when the folder has been read.
    QTRY_COMPARE(list->model()->rowCount(list->rootIndex()), 2);
    const QModelIndex file = list->model()->index(0, 0, list->rootIndex());
    QTRY_VERIFY(list->visualRect(file).isValid());
    const QStringList texts = menuOf(*list->viewport(), list->visualRect(file).center());
    QVERIFY2(texts.size() == 4, qPrintable(texts.join(QLatin1Char('|'))));
    for (const QString& text : texts) {
        QVERIFY2(hasCyrillic(text), qPrintable(text));
    }
    QVERIFY(texts.contains(QStringLiteral("&Новая папка")));
}

void TestQtTexts::menusOfTextFields()
{
    QLineEdit line;
    QTextEdit rich;
    QPlainTextEdit plain;
    const std::unique_ptr<QMenu> lineMenu(line.createStandardContextMenu());
    const std::unique_ptr<QMenu> richMenu(rich.createStandardContextMenu());
    const std::unique_ptr<QMenu> plainMenu(plain.createStandardContextMenu());
    const QStringList wanted = {QStringLiteral("&Отменить"),   QStringLiteral("&Повторить"),
                                QStringLiteral("&Вырезать"),   QStringLiteral("&Копировать"),
                                QStringLiteral("Вст&авить"),   QStringLiteral("Удалить"),
                                QStringLiteral("Выделить всё")};
    QCOMPARE(entries(*lineMenu), wanted);
    QCOMPARE(entries(*richMenu), wanted);
    QCOMPARE(entries(*plainMenu), wanted);

    rich.setTextInteractionFlags(Qt::TextBrowserInteraction);
    const std::unique_ptr<QMenu> linkMenu(rich.createStandardContextMenu());
    QVERIFY(entries(*linkMenu).contains(QStringLiteral("Копировать адрес &ссылки")));
}

void TestQtTexts::menusOfScrollBarsAndSpinBoxes()
{
    QSpinBox spin;
    spin.show();
    QVERIFY(QTest::qWaitForWindowExposed(&spin));
    const QStringList spinTexts = menuOf(spin, spin.rect().center());
    QVERIFY2(spinTexts.size() >= 9, qPrintable(spinTexts.join(QLatin1Char('|'))));
    for (const QString& text : spinTexts) {
        QVERIFY2(hasCyrillic(text), qPrintable(text));
    }
    for (const Qt::Orientation orientation : {Qt::Vertical, Qt::Horizontal}) {
        QScrollBar bar(orientation);
        bar.resize(orientation == Qt::Vertical ? QSize(16, 200) : QSize(200, 16));
        bar.show();
        QVERIFY(QTest::qWaitForWindowExposed(&bar));
        const QStringList texts = menuOf(bar, bar.rect().center());
        QCOMPARE(texts.size(), 7);
        for (const QString& text : texts) {
            QVERIFY2(hasCyrillic(text), qPrintable(text));
        }
    }
    QTabWidget tabs;
    QSet<QString> arrows;
    for (const QToolButton* button : tabs.findChildren<QToolButton*>()) {
        arrows.insert(button->accessibleName());
    }
    QCOMPARE(arrows, QSet<QString>({QStringLiteral("Прокрутить влево"), QStringLiteral("Прокрутить вправо")}));
}

void TestQtTexts::documentsFolder()
{
    QCOMPARE(QStandardPaths::displayName(QStandardPaths::DocumentsLocation), QStringLiteral("Документы"));
}

void TestQtTexts::nothingWasMissed()
{
    // The tests above made Qt ask for all that it shows there.
    QVERIFY(translator->asked.contains(QStringLiteral("QFileDialog/Look in:")));
    QVERIFY(translator->asked.contains(QStringLiteral("QPlatformTheme/Cancel")));
    QStringList missed;
    for (const QString& text : qAsConst(translator->missed)) {
        // Keyboards are labelled alike in every language that ships, and the direction of writing is the default one.
        const bool isKey =
            text.startsWith(QLatin1String("QShortcut/")) || text.startsWith(QLatin1String("QFileDialog/Alt+"));
        if (!isKey && text != QLatin1String("QGuiApplication/QT_LAYOUT_DIRECTION")) {
            missed.append(text);
        }
    }
    QVERIFY2(missed.isEmpty(), qPrintable(missed.join(QLatin1Char('\n'))));
}

QTEST_MAIN(TestQtTexts)
#include "TestQtTexts.moc"
