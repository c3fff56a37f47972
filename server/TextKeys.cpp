// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/TextKeys.h"

#include <QByteArray>

#include <unicode/ucol.h>
#include <unicode/unorm2.h>

#include <memory>

namespace server {

namespace {

// Bounds the keys to what a database takes in an index.
constexpr int sortedCharacters = 255;
constexpr int sortKeyBytes = 600;

struct CloseCollator
{
    void operator()(UCollator* collator) const { ucol_close(collator); }
};

const UChar* units(const QString& text)
{
    return reinterpret_cast<const UChar*>(text.utf16());
}

QString transformed(const UNormalizer2* normalizer, const QString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    QString result(text.size() + text.size() / 2 + 16, Qt::Uninitialized);
    int32_t length = unorm2_normalize(normalizer, units(text), text.size(), reinterpret_cast<UChar*>(result.data()),
                                      result.size(), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        status = U_ZERO_ERROR;
        result.resize(length);
        length = unorm2_normalize(normalizer, units(text), text.size(), reinterpret_cast<UChar*>(result.data()),
                                  result.size(), &status);
    }
    if (U_FAILURE(status))
        return text;
    result.resize(length);
    return result;
}

} // namespace

QString TextKeys::normalized(const QString& text)
{
    return text.normalized(QString::NormalizationForm_C).trimmed();
}

QString TextKeys::folded(const QString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* normalizer = unorm2_getNFKCCasefoldInstance(&status);
    QString result = U_SUCCESS(status) ? transformed(normalizer, text) : text.toCaseFolded();
    return result.replace(QChar(0x0451), QChar(0x0435));
}

QString TextKeys::sortKey(const QString& text)
{
    thread_local std::unique_ptr<UCollator, CloseCollator> collator;
    if (!collator) {
        UErrorCode status = U_ZERO_ERROR;
        collator.reset(ucol_open("root", &status));
        if (U_FAILURE(status))
            collator.reset();
        if (!collator)
            return QString::fromLatin1(folded(text).left(sortedCharacters).toUtf8().toHex()).left(2 * sortKeyBytes);
    }
    const QString beginning = text.left(sortedCharacters);
    // The upper bound of a key is not known; what does not fit is cut below in any case.
    QByteArray key(16 * sortedCharacters, '\0');
    const int32_t size = ucol_getSortKey(collator.get(), units(beginning), beginning.size(),
                                         reinterpret_cast<uint8_t*>(key.data()), key.size());
    // The size counts the zero that ends the key.
    key.truncate(qBound(0, size - 1, sortKeyBytes));
    return QString::fromLatin1(key.toHex());
}

} // namespace server
