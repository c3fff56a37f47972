// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QPair>
#include <QVector>

/// One operation of the server with a request that it carries out, for tests that send it every other kind.
///
/// In addresses and bodies stand, for the values of the moment: {P} the id of a patient, {R} that of one of its
/// records, {D} the identity of its device, {L} and {W} name and password of the practitioner.
class WalkedOperation
{
public:
    enum class Body
    {
        None,
        Json,
        Form,
        Parts,
    };
    enum class Kind
    {
        Id,     ///< of a patient or a record
        Text,   ///< any other text
        Ids,    ///< an array of ids
        Texts,  ///< an array of other texts
        Number, ///< a whole one
    };

    struct Field
    {
        QByteArray key;
        QByteArray good; ///< as JSON; in a form as it stands there; empty for the recording of an upload
        Kind kind = Kind::Text;
        bool required = true;
    };

    /// All that there are; a test holds the list to the server's own and to its documentation.
    static QVector<WalkedOperation> all();

    /// The method and the path, with "*" in the place of each id.
    QByteArray name() const;
    /// The address of the good request.
    QByteArray target() const { return path + query; }
    QByteArray contentType() const;
    /// The good body, in which the fields of these keys have other values.
    QByteArray content(const QVector<QPair<QByteArray, QByteArray>>& changes = {}) const;
    /// The good body without this field.
    QByteArray contentWithout(const QByteArray& key) const;

    QByteArray method;
    QByteArray path;
    Body body = Body::None;
    QVector<Field> fields = QVector<Field>();
    QByteArray query = QByteArray();
    bool open = false; ///< needs no session

    static const QByteArray boundary;
    /// A multipart body of parts with these names and contents.
    static QByteArray parts(const QVector<QPair<QByteArray, QByteArray>>& contents);
    /// A recording that the server takes.
    static const QByteArray& wave();

private:
    QByteArray joined(const QVector<QPair<QByteArray, QByteArray>>& values) const;
};
