// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/languages/ClippedTexts.h"

#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStyleOption>
#include <QTabBar>

#include <functional>

namespace {

/// Qt keeps between a line edit's frame and its text, on each side.
constexpr int lineEditMargin = 2;
/// Wider than any widget that can be seen whole.
constexpr int beyondTheScreen = 2000;

// What these classes keep to themselves tells what their styles are told.
struct OpenButton : QPushButton
{
    using QPushButton::initStyleOption;
};
struct OpenCheckBox : QCheckBox
{
    using QCheckBox::initStyleOption;
};
struct OpenRadioButton : QRadioButton
{
    using QRadioButton::initStyleOption;
};
struct OpenComboBox : QComboBox
{
    using QComboBox::initStyleOption;
};
struct OpenLineEdit : QLineEdit
{
    using QLineEdit::initStyleOption;
};
struct OpenTabBar : QTabBar
{
    using QTabBar::tabSizeHint;
};
struct OpenHeader : QHeaderView
{
    using QHeaderView::initStyleOption;
};

/// How wide `paint` paints, at most `limit` pixels. Only the painting knows the font that a style sheet has for a part
/// or a state of a widget.
int paintedWidth(const std::function<void(QPainter*, const QRect&)>& paint, int limit)
{
    constexpr int height = 100;
    QImage image(limit, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    paint(&painter, image.rect());
    painter.end();
    int first = limit;
    int last = -1;
    for (int y = 0; y < height; ++y) {
        const auto* const line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = 0; x < limit; ++x) {
            if (qAlpha(line[x]) != 0) {
                first = qMin(first, x);
                last = qMax(last, x);
            }
        }
    }
    return qMax(0, last - first + 1);
}

class Search
{
public:
    explicit Search(const QWidget& topLevel)
        : window(topLevel)
    {
    }

    ClippedTexts run()
    {
        look(&window);
        const QList<QWidget*> widgets = window.findChildren<QWidget*>();
        for (const QWidget* widget : widgets) {
            look(widget);
        }
        return result;
    }

private:
    void look(const QWidget* widget)
    {
        if (!widget->isVisible() || widget->window() != window.window()) {
            return;
        }
        const int before = result.measured;
        if (const auto* const label = qobject_cast<const QLabel*>(widget)) {
            lookAtLabel(*label);
        } else if (const auto* const button = qobject_cast<const QPushButton*>(widget)) {
            lookAtButton(*button);
        } else if (const auto* const check = qobject_cast<const QCheckBox*>(widget)) {
            QStyleOptionButton option;
            (check->*(&OpenCheckBox::initStyleOption))(&option);
            lookAtTick(*check, option, QStyle::SE_CheckBoxContents);
        } else if (const auto* const radio = qobject_cast<const QRadioButton*>(widget)) {
            QStyleOptionButton option;
            (radio->*(&OpenRadioButton::initStyleOption))(&option);
            lookAtTick(*radio, option, QStyle::SE_RadioButtonContents);
        } else if (const auto* const group = qobject_cast<const QGroupBox*>(widget)) {
            compare(*group, group->title(), widthOf(*group, group->title()), group->width());
        } else if (const auto* const tabs = qobject_cast<const QTabBar*>(widget)) {
            lookAtTabs(*tabs);
        } else if (const auto* const header = qobject_cast<const QHeaderView*>(widget)) {
            lookAtHeader(*header);
        } else if (const auto* const combo = qobject_cast<const QComboBox*>(widget)) {
            lookAtCombo(*combo);
        } else if (const auto* const spin = qobject_cast<const QSpinBox*>(widget)) {
            lookAtSpin(*spin);
        } else if (const auto* const line = qobject_cast<const QLineEdit*>(widget)) {
            compare(*line, line->placeholderText(), widthOf(*line, line->placeholderText()), roomOf(*line));
        } else if (const auto* const bar = qobject_cast<const QMenuBar*>(widget)) {
            lookAtBar(*bar);
        }
        if (result.measured > before) {
            lookAtPlace(*widget);
        }
    }

    static int widthOf(const QFontMetrics& metrics, const QString& text)
    {
        return metrics.size(Qt::TextShowMnemonic, text).width();
    }
    static int widthOf(const QWidget& widget, const QString& text) { return widthOf(widget.fontMetrics(), text); }

    void report(const QWidget& widget, const QString& text, const QString& problem)
    {
        result.clipped.append(QStringLiteral("%1 \"%2\" %3").arg(widget.objectName(), text.left(60), problem));
    }

    /// An empty text needs nothing and is not counted.
    void compare(const QWidget& widget, const QString& text, int needed, int room)
    {
        if (text.isEmpty()) {
            return;
        }
        ++result.measured;
        if (needed > room) {
            report(widget, text, QStringLiteral("needs %1 and has %2").arg(needed).arg(room));
        }
    }

    void lookAtLabel(const QLabel& label)
    {
        const QString text = label.text();
        if (!label.wordWrap()) {
            compare(label, text, label.sizeHint().width(), label.width());
            if (!text.isEmpty() && label.sizeHint().height() > label.height()) {
                report(label, text, QStringLiteral("is %1 high").arg(label.height()));
            }
            return;
        }
        int longest = 0;
        const QStringList words = text.split(QLatin1Char(' '));
        for (const QString& word : words) {
            longest = qMax(longest, widthOf(label, word));
        }
        compare(label, text, longest, label.contentsRect().width());
        if (!text.isEmpty() && label.heightForWidth(label.width()) > label.height()) {
            report(label, text, QStringLiteral("needs more lines"));
        }
    }

    void lookAtButton(const QPushButton& button)
    {
        if (button.text().isEmpty()) {
            return;
        }
        QStyleOptionButton option;
        (button.*(&OpenButton::initStyleOption))(&option);
        const QRect room = button.style()->subElementRect(QStyle::SE_PushButtonContents, &option, &button);
        const int needed = paintedWidth(
            [&](QPainter* painter, const QRect& rect) {
                option.rect = rect;
                button.style()->drawControl(QStyle::CE_PushButtonLabel, &option, painter, &button);
            },
            beyondTheScreen);
        compare(button, button.text(), needed, room.width());
        if (button.fontMetrics().height() > room.height()) {
            report(button, button.text(), QStringLiteral("is %1 high").arg(room.height()));
        }
    }

    void lookAtTick(const QAbstractButton& button, const QStyleOptionButton& option, QStyle::SubElement contents)
    {
        const QRect room = button.style()->subElementRect(contents, &option, &button);
        compare(button, button.text(), widthOf(button, button.text()), room.width());
    }

    void lookAtTabs(const QTabBar& tabs)
    {
        for (int i = 0; i < tabs.count(); ++i) {
            const QRect tab = tabs.tabRect(i);
            compare(tabs, tabs.tabText(i), (tabs.*(&OpenTabBar::tabSizeHint))(i).width(), tab.width());
            if (!tabs.rect().contains(tab)) {
                report(tabs, tabs.tabText(i), QStringLiteral("has to be scrolled to"));
            }
        }
    }

    void lookAtHeader(const QHeaderView& header)
    {
        if (header.model() == nullptr || header.orientation() != Qt::Horizontal) {
            return;
        }
        for (int i = 0; i < header.count(); ++i) {
            const QString text = header.model()->headerData(i, Qt::Horizontal).toString();
            if (header.isSectionHidden(i) || text.trimmed().isEmpty()) {
                continue;
            }
            QStyleOptionHeader option;
            (header.*(&OpenHeader::initStyleOption))(&option);
            option.section = i;
            option.text = text;
            option.textAlignment = Qt::AlignLeft | Qt::AlignVCenter;
            option.rect = QRect(0, 0, header.sectionSize(i), header.height());
            const QRect room = header.style()->subElementRect(QStyle::SE_HeaderLabel, &option, &header);
            const int needed = paintedWidth(
                [&](QPainter* painter, const QRect& rect) {
                    option.rect = rect;
                    header.style()->drawControl(QStyle::CE_HeaderLabel, &option, painter, &header);
                },
                beyondTheScreen);
            compare(header, text, needed, room.width());
        }
    }

    void lookAtCombo(const QComboBox& combo)
    {
        QStyleOptionComboBox option;
        (combo.*(&OpenComboBox::initStyleOption))(&option);
        const QRect room =
            combo.style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, &combo);
        for (int i = 0; i < combo.count(); ++i) {
            compare(combo, combo.itemText(i), widthOf(combo, combo.itemText(i)), room.width());
        }
    }

    static int roomOf(const QLineEdit& line)
    {
        QStyleOptionFrame option;
        (line.*(&OpenLineEdit::initStyleOption))(&option);
        const QMargins margins = line.textMargins();
        return line.style()->subElementRect(QStyle::SE_LineEditContents, &option, &line).width() - margins.left() -
               margins.right() - 2 * lineEditMargin;
    }

    void lookAtSpin(const QSpinBox& spin)
    {
        const auto* const line = spin.findChild<QLineEdit*>();
        const QString longest = spin.prefix() + spin.locale().toString(spin.maximum()) + spin.suffix();
        compare(spin, longest, widthOf(spin, longest), roomOf(*line));
    }

    void lookAtBar(const QMenuBar& bar)
    {
        for (const QAction* action : bar.actions()) {
            auto* const entry = const_cast<QAction*>(action);
            compare(bar, action->text(), widthOf(bar, action->text()), bar.actionGeometry(entry).width());
            if (!bar.rect().contains(bar.actionGeometry(entry))) {
                report(bar, action->text(), QStringLiteral("sticks out of the bar"));
            }
        }
    }

    /// The widget has to lie inside all that it lies in, up to the window. What can be scrolled into sight is in sight.
    void lookAtPlace(const QWidget& widget)
    {
        const QWidget* inner = &widget;
        while (!inner->isWindow()) {
            const QWidget* const outer = inner->parentWidget();
            const auto* const area = qobject_cast<const QAbstractScrollArea*>(outer->parentWidget());
            if (area != nullptr && area->viewport() == outer) {
                inner = area;
                continue;
            }
            if (!outer->rect().contains(inner->geometry())) {
                report(widget, QString::fromLatin1(widget.metaObject()->className()),
                       QStringLiteral("sticks out of ") + outer->objectName());
                return;
            }
            inner = outer;
        }
    }

    const QWidget& window;
    ClippedTexts result;
};

} // namespace

ClippedTexts findClippedTexts(const QWidget& window)
{
    return Search(window).run();
}
