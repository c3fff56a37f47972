// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/languages/TextScan.h"

#include "tests/languages/Catalogue.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace {

/// How much code before a literal is kept: enough to hold the call that the literal is an argument of.
constexpr int contextLength = 200;

struct Literal
{
    int line;
    QString text;
    QString before;
};

QChar unescaped(QChar escape)
{
    switch (escape.toLatin1()) {
    case 'n':
        return QLatin1Char('\n');
    case 't':
        return QLatin1Char('\t');
    default:
        return escape;
    }
}

QVector<Literal> literals(const QString& code)
{
    QVector<Literal> found;
    QString clean;
    int line = 1;
    int i = 0;
    while (i < code.size()) {
        const QChar c = code.at(i);
        const QChar next = i + 1 < code.size() ? code.at(i + 1) : QChar();
        if (c == QLatin1Char('/') && next == QLatin1Char('/')) {
            while (i < code.size() && code.at(i) != QLatin1Char('\n')) {
                ++i;
            }
        } else if (c == QLatin1Char('/') && next == QLatin1Char('*')) {
            const int end = code.indexOf(QLatin1String("*/"), i + 2);
            const QString comment = code.mid(i, end < 0 ? -1 : end - i + 2);
            line += comment.count(QLatin1Char('\n'));
            clean += QLatin1Char(' ');
            i += comment.size();
        } else if (c == QLatin1Char('\'')) {
            // A quotation mark as a character must not open a literal; a separator in a number closes nothing.
            if (next == QLatin1Char('\\')) {
                i += 4;
            } else if (i + 2 < code.size() && code.at(i + 2) == QLatin1Char('\'')) {
                i += 3;
            } else {
                ++i;
            }
            clean += QLatin1Char('\'');
        } else if (c == QLatin1Char('"')) {
            Literal literal{line, {}, clean.right(contextLength)};
            ++i;
            while (i < code.size() && code.at(i) != QLatin1Char('"') && code.at(i) != QLatin1Char('\n')) {
                if (code.at(i) == QLatin1Char('\\') && i + 1 < code.size()) {
                    ++i;
                    literal.text += unescaped(code.at(i));
                } else {
                    literal.text += code.at(i);
                }
                ++i;
            }
            ++i;
            found.append(literal);
            clean += QLatin1Char('"') + literal.text + QLatin1Char('"');
        } else {
            if (c == QLatin1Char('\n')) {
                ++line;
            }
            clean += c;
            ++i;
        }
    }
    return found;
}

} // namespace

bool looksLikeKey(const QString& text)
{
    static const QRegularExpression key(
        QStringLiteral("^(?:Text|Title|Dialog|Form|Menu|Complaint)\\.[A-Za-z][A-Za-z0-9]*$"));
    return key.match(text).hasMatch();
}

QVector<FoundText> textsInCode(const QString& code, const QString& file, const QString& user)
{
    static const QRegularExpression withContext(
        QStringLiteral("\\b(?:translate|QT_TRANSLATE_NOOP)\\s*\\(\\s*\"([^\"]*)\"\\s*,\\s*$"));
    static const QRegularExpression call(QStringLiteral("(?:\\b(\\w+)\\s*::\\s*)?\\b(?:tr|QT_TR_NOOP)\\s*\\(\\s*$"));

    QVector<FoundText> found;
    const QVector<Literal> all = literals(code);
    for (const Literal& literal : all) {
        const QRegularExpressionMatch named = withContext.match(literal.before);
        if (named.hasMatch()) {
            found.append({file, literal.line, user, named.captured(1), literal.text});
            continue;
        }
        const QRegularExpressionMatch called = call.match(literal.before);
        if (called.hasMatch()) {
            const QString qualifier = called.captured(1);
            found.append({file, literal.line, user, qualifier.isEmpty() ? contextOf(user) : qualifier, literal.text});
        } else if (looksLikeKey(literal.text)) {
            found.append({file, literal.line, user, contextOf(user), literal.text});
        }
    }
    return found;
}

QVector<FoundText> textsInForm(const QByteArray& form, const QString& file)
{
    QVector<FoundText> found;
    QString formClass;
    QXmlStreamReader xml(form);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) {
            continue;
        }
        if (xml.name() == QLatin1String("class") && formClass.isEmpty()) {
            formClass = xml.readElementText();
        } else if (xml.name() == QLatin1String("string")) {
            const bool fixed = xml.attributes().value(QLatin1String("notr")) == QLatin1String("true");
            const int line = static_cast<int>(xml.lineNumber());
            const QString text = xml.readElementText();
            if (!fixed && !text.isEmpty()) {
                found.append({file, line, formClass, contextOf(formClass), text});
            }
        }
    }
    if (xml.hasError()) {
        found.append({file, static_cast<int>(xml.lineNumber()), formClass, formClass, xml.errorString()});
    }
    return found;
}

QVector<FoundText> textsBelow(const QString& folder)
{
    QVector<FoundText> found;
    QDirIterator files(folder, {QStringLiteral("*.cpp"), QStringLiteral("*.h"), QStringLiteral("*.ui")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) {
            found.append({path, 0, {}, {}, file.errorString()});
            continue;
        }
        const QByteArray bytes = file.readAll();
        const QFileInfo info(path);
        if (info.suffix() == QLatin1String("ui")) {
            found += textsInForm(bytes, path);
        } else {
            found += textsInCode(QString::fromUtf8(bytes), path, info.baseName());
        }
    }
    return found;
}
