// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/DatabaseError.h"
#include "server/Statement.h"

#include <QHash>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

namespace server {

struct DatabaseAddress;

/// All that is particular to one database engine. What is written elsewhere is SQL that SQLite and PostgreSQL both
/// take. Usable on any thread.
class Dialect
{
public:
    /// The names under which a connection has prepared statements, by their texts.
    using Prepared = QHash<QString, QString>;

    static std::unique_ptr<Dialect> of(const DatabaseAddress& address);

    Dialect() = default;
    virtual ~Dialect() = default;
    Dialect(const Dialect&) = delete;
    Dialect& operator=(const Dialect&) = delete;

    /// Makes what has to be there before the first connection. The reason if that fails, else an empty text.
    virtual QString provide() const = 0;
    /// The name of Qt's driver.
    virtual QString driver() const = 0;
    /// Settings of a connection before it is opened: where the data lie and how long to wait for a lock.
    virtual void configure(QSqlDatabase& connection) const = 0;
    /// Settings of an open connection: constraints are checked, and what was committed is on the disk. The
    /// reason if the engine refuses, else an empty text.
    virtual QString prepare(QSqlDatabase& connection) const = 0;

    /// A statement of a migration, with the types of its columns as this engine names them: TEXT is compared by its
    /// bytes, REAL has eight of them, and "{bytes}" takes any.
    virtual QString migrated(const QString& statement) const = 0;
    /// Selects the names of all tables that are in the way of ours, or are ours.
    virtual QString selectTables() const = 0;
    /// Selects the names of the columns of the table "?" that can be written, in their order.
    virtual QString selectColumns() const = 0;

    /// Makes what searches need: the table patient_texts, with the folded texts of all patients and an index of their
    /// trigrams, and triggers that keep it and patient_counts as the table patients is. Both are filled from there.
    virtual QStringList makePatientTexts() const = 0;
    /// " FROM ... WHERE ..." with the patients "p" of a practitioner whose column, name_folded or notes_folded,
    /// contains a folded text; the pattern is the same text for LIKE, with "\\" as ESCAPE.
    virtual Statement patientsContaining(const QString& practitionerId, const QString& column, const QString& text,
                                         const QString& pattern) const = 0;

    /// What lets the engine read a database well whose content has just come all at once. Not within a transaction.
    virtual QStringList afterFilling() const = 0;

    /// Starts a transaction that will write, and in which nothing changes that it has read. If it is to be alone, it
    /// waits for the others that write, and they for it: then none of them is in its way.
    virtual QStringList begin(bool alone) const = 0;
    /// Starts a transaction that changes the tables, once no other one does, on this or another machine.
    virtual QStringList beginMigration() const = 0;
    /// Starts a transaction that only reads, and sees one state while others go on writing.
    virtual QStringList beginSnapshot() const = 0;
    /// Starts a transaction that writes these tables anew, and in which others are no longer writing them.
    virtual QStringList beginReplacement(const QStringList& tables) const = 0;
    /// How the rows of a selection are got without having all of them in memory: one statement if the engine hands them
    /// over one by one, else one to begin with, one to be repeated as long as it gives rows, and one for the end.
    virtual QStringList portions(const QString& selection) const = 0;

    /// Whether a query that ran a statement with values can run it again with others, at less cost than a new one.
    virtual bool keepsQueries() const = 0;
    /// Runs a statement with its values for the "?" in it; the query may have run the same statement before. False on
    /// failure, with the reason in the query.
    virtual bool run(QSqlQuery& query, const QSqlDatabase& connection, const QString& statement,
                     const QVariantList& values, Prepared& prepared) const = 0;
    /// What an error means, in one line without the values of a statement, as these are the data of patients.
    virtual DatabaseError error(const QSqlError& error) const = 0;
};

} // namespace server
