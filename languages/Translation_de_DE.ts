<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>AnalysisModel</name>
    <message>
        <source>Text.marker</source>
        <translation>Marker</translation>
    </message>
</context>
<context>
    <name>AudioRecorder</name>
    <message>
        <source>Text.record</source>
        <translation>Aufnahme</translation>
    </message>
    <message>
        <source>Text.reRecord</source>
        <translation>Neu aufnehmen</translation>
    </message>
    <message>
        <source>Text.saveRecord</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Text.startRecord</source>
        <translation>Aufnahme starten</translation>
    </message>
    <message>
        <source>Text.messageRemote</source>
        <translation>Oder einen Befehl an das Ferngerät des Patienten senden:</translation>
    </message>
    <message>
        <source>Text.send</source>
        <translation>Senden</translation>
    </message>
    <message>
        <source>Title.signalRecord</source>
        <translation>Signalaufnahme</translation>
    </message>
    <message>
        <source>Dialog.signalRecordInProgress</source>
        <translation>Das Signal wird aufgenommen. Das dauert drei Sekunden.</translation>
    </message>
    <message>
        <source>Dialog.signalRecordConfirm</source>
        <translation>Das Signal ist aufgenommen. Speichern Sie es oder nehmen Sie es neu auf.</translation>
    </message>
    <message>
        <source>Dialog.signalRecord</source>
        <translation>Schließen Sie den Sensor an und starten Sie die Aufnahme.</translation>
    </message>
    <message>
        <source>Text.autospectrum</source>
        <translation>Autospektrum</translation>
    </message>
    <message>
        <source>Text.cancel</source>
        <translation>Abbrechen</translation>
    </message>
</context>
<context>
    <name>DialogAbout</name>
    <message>
        <source>Text.about</source>
        <translation>Über Quelmar</translation>
    </message>
    <message>
        <source>Text.aboutProgramType</source>
        <translation>Aufnahme, Analyse und Wiedergabe von Signalen</translation>
    </message>
    <message>
        <source>Text.aboutVersion</source>
        <translation>Version:</translation>
    </message>
    <message>
        <source>Text.aboutEmail</source>
        <translation>E-Mail:</translation>
    </message>
    <message>
        <source>Text.aboutWebsite</source>
        <translation>Webseite:</translation>
    </message>
    <message>
        <source>Text.expiredAt</source>
        <translation>Zugang gültig bis:</translation>
    </message>
    <message>
        <source>Text.close</source>
        <translation>Schließen</translation>
    </message>
</context>
<context>
    <name>DialogAutospectrum</name>
    <message>
        <source>Text.autospectrum</source>
        <translation>Autospektrum</translation>
    </message>
    <message>
        <source>Text.cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Text.duration</source>
        <translation>Dauer:</translation>
    </message>
    <message>
        <source>Text.confirm</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Text.minutes</source>
        <translation> min</translation>
    </message>
</context>
<context>
    <name>DialogChangePassword</name>
    <message>
        <source>Text.cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Text.confirm</source>
        <translation>Ändern</translation>
    </message>
    <message>
        <source>Text.changePassword</source>
        <translation>Passwort ändern</translation>
    </message>
    <message>
        <source>Text.oldPassword</source>
        <translation>Aktuelles Passwort:</translation>
    </message>
    <message>
        <source>Text.password</source>
        <translation>Neues Passwort:</translation>
    </message>
    <message>
        <source>Text.passwordRepeat</source>
        <translation>Neues Passwort wiederholen:</translation>
    </message>
    <message>
        <source>Text.error</source>
        <translation>Fehler</translation>
    </message>
</context>
<context>
    <name>DialogLogin</name>
    <message>
        <source>Text.error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Title.application</source>
        <translation>Quelmar</translation>
    </message>
    <message>
        <source>Text.username</source>
        <translation>Benutzername</translation>
    </message>
    <message>
        <source>Text.password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>Text.login</source>
        <translation>Anmelden</translation>
    </message>
</context>
<context>
    <name>DialogManageDevices</name>
    <message>
        <source>Text.disableDevice</source>
        <translation>Gerät deaktivieren</translation>
    </message>
    <message>
        <source>Text.enableDevice</source>
        <translation>Gerät aktivieren</translation>
    </message>
    <message>
        <source>Text.titleDisconnect</source>
        <translation>Verknüpfung lösen</translation>
    </message>
    <message>
        <source>Text.confirmDisconnect</source>
        <translation>Die Verknüpfung des Ferngeräts mit diesem Patienten lösen?</translation>
    </message>
    <message>
        <source>Text.manageDevices</source>
        <translation>Ferngerät</translation>
    </message>
    <message>
        <source>Text.connect</source>
        <translation>Gerät verknüpfen</translation>
    </message>
    <message>
        <source>Text.disconnect</source>
        <translation>Verknüpfung lösen</translation>
    </message>
    <message>
        <source>Text.deviceNotConnected</source>
        <translation>Kein Gerät gefunden. Schließen Sie es an einen USB-Anschluss an und versuchen Sie es erneut.</translation>
    </message>
</context>
<context>
    <name>DialogPlayer</name>
    <message>
        <source>Title.player</source>
        <translation>Wiedergabe</translation>
    </message>
    <message>
        <source>Text.play</source>
        <translation>Abspielen</translation>
    </message>
    <message>
        <source>Text.pause</source>
        <translation>Anhalten</translation>
    </message>
    <message>
        <source>Text.stop</source>
        <translation>Beenden</translation>
    </message>
</context>
<context>
    <name>FormPatient</name>
    <message>
        <source>Text.cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Text.day</source>
        <translation>Tag</translation>
    </message>
    <message>
        <source>Text.year</source>
        <translation>Jahr</translation>
    </message>
    <message>
        <source>Text.male</source>
        <translation>Männlich</translation>
    </message>
    <message>
        <source>Text.female</source>
        <translation>Weiblich</translation>
    </message>
    <message>
        <source>Dialog.createPatient</source>
        <translation>Neuer Patient</translation>
    </message>
    <message>
        <source>Dialog.editPatient</source>
        <translation>Patient bearbeiten</translation>
    </message>
    <message>
        <source>Form.notes</source>
        <translation>Notizen:</translation>
    </message>
    <message>
        <source>Form.name</source>
        <translation>Vor- und Nachname</translation>
    </message>
    <message>
        <source>Form.patientAgreement</source>
        <translation>Der Patient hat der Verarbeitung seiner Daten zugestimmt</translation>
    </message>
    <message>
        <source>Form.phone</source>
        <translation>Telefon</translation>
    </message>
    <message>
        <source>Text.name</source>
        <translation>Name des Patienten</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Text.month</source>
        <translation>Monat</translation>
    </message>
</context>
<context>
    <name>LoadingWindow</name>
    <message>
        <source>Text.requestInProgress</source>
        <translation>Bitte warten …</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Title.application</source>
        <translation>Quelmar</translation>
    </message>
    <message>
        <source>Text.closeTitle</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Text.closeMessage</source>
        <translation>Möchten Sie Quelmar beenden?</translation>
    </message>
    <message>
        <source>Text.upToDate</source>
        <translation>Sie verwenden die neueste Version von Quelmar.</translation>
    </message>
    <message>
        <source>Text.updatesAvailable</source>
        <translation>Eine neuere Version von Quelmar ist verfügbar.</translation>
    </message>
    <message>
        <source>Text.updatesTitle</source>
        <translation>Aktualisierung</translation>
    </message>
    <message>
        <source>Text.impactFinished</source>
        <translation>Das Einwirkungssignal wurde vollständig abgespielt.</translation>
    </message>
    <message>
        <source>Text.changeLocaleSuccess</source>
        <translation>Die Sprache wurde geändert. Bereits geöffnete Ansichten behalten die bisherige Sprache, bis sie neu geöffnet werden.</translation>
    </message>
    <message>
        <source>Dialog.successChangePassword</source>
        <translation>Ihr Passwort wurde geändert.</translation>
    </message>
    <message>
        <source>Menu.password</source>
        <translation>Passwort ändern …</translation>
    </message>
    <message>
        <source>Menu.updates</source>
        <translation>Nach Updates suchen</translation>
    </message>
    <message>
        <source>Menu.about</source>
        <translation>Über Quelmar</translation>
    </message>
    <message>
        <source>Menu.application</source>
        <translation>Programm</translation>
    </message>
    <message>
        <source>Menu.language</source>
        <translation>Sprache</translation>
    </message>
</context>
<context>
    <name>PatientManager</name>
    <message>
        <source>Text.invalidName</source>
        <translation>Bitte geben Sie den Namen des Patienten ein.</translation>
    </message>
    <message>
        <source>Text.invalidBirthDate</source>
        <translation>Bitte geben Sie ein gültiges Geburtsdatum ein.</translation>
    </message>
</context>
<context>
    <name>PatientModel</name>
    <message>
        <source>Text.deviceNotConnected</source>
        <translation>Kein Ferngerät verknüpft</translation>
    </message>
    <message>
        <source>Text.name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Text.noCommands</source>
        <translation>Ferngerät verknüpft, kein Befehl</translation>
    </message>
    <message>
        <source>Text.recordInProgress</source>
        <translation>Fernaufnahme läuft</translation>
    </message>
    <message>
        <source>Text.recordComplete</source>
        <translation>Fernaufnahme abgeschlossen</translation>
    </message>
    <message>
        <source>Text.recipeInProgress</source>
        <translation>Rezept läuft auf dem Ferngerät</translation>
    </message>
    <message>
        <source>Text.recipeComplete</source>
        <translation>Rezept abgeschlossen</translation>
    </message>
    <message>
        <source>Text.age</source>
        <translation>Alter</translation>
    </message>
    <message>
        <source>Text.gender</source>
        <translation>m/w</translation>
    </message>
    <message>
        <source>Text.lastRecordDate</source>
        <translation>Letzte Aufnahme</translation>
    </message>
    <message>
        <source>Text.phone</source>
        <translation>Telefon</translation>
    </message>
    <message>
        <source>Text.notes</source>
        <translation>Notizen</translation>
    </message>
</context>
<context>
    <name>QAbstractSpinBox</name>
    <message>
        <source>&amp;Select All</source>
        <translation>Alles &amp;auswählen</translation>
    </message>
    <message>
        <source>&amp;Step up</source>
        <translation>&amp;Erhöhen</translation>
    </message>
    <message>
        <source>Step &amp;down</source>
        <translation>&amp;Verringern</translation>
    </message>
</context>
<context>
    <name>QDialog</name>
    <message>
        <source>What&apos;s This?</source>
        <translation>Was ist das?</translation>
    </message>
</context>
<context>
    <name>QDialogButtonBox</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>QFileDialog</name>
    <message>
        <source>Look in:</source>
        <translation>Suchen in:</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
    <message>
        <source>Go back</source>
        <translation>Zurückgehen</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Vorwärts</translation>
    </message>
    <message>
        <source>Go forward</source>
        <translation>Vorwärtsgehen</translation>
    </message>
    <message>
        <source>Parent Directory</source>
        <translation>Übergeordneter Ordner</translation>
    </message>
    <message>
        <source>Go to the parent directory</source>
        <translation>In den übergeordneten Ordner wechseln</translation>
    </message>
    <message>
        <source>Create New Folder</source>
        <translation>Neuen Ordner anlegen</translation>
    </message>
    <message>
        <source>Create a New Folder</source>
        <translation>Einen neuen Ordner anlegen</translation>
    </message>
    <message>
        <source>List View</source>
        <translation>Liste</translation>
    </message>
    <message>
        <source>Change to list view mode</source>
        <translation>Dateien als Liste anzeigen</translation>
    </message>
    <message>
        <source>Detail View</source>
        <translation>Details</translation>
    </message>
    <message>
        <source>Change to detail view mode</source>
        <translation>Dateien mit Details anzeigen</translation>
    </message>
    <message>
        <source>Sidebar</source>
        <translation>Seitenleiste</translation>
    </message>
    <message>
        <source>List of places and bookmarks</source>
        <translation>Liste der Orte und Lesezeichen</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>File &amp;name:</source>
        <translation>Datei&amp;name:</translation>
    </message>
    <message>
        <source>Directory:</source>
        <translation>Ordner:</translation>
    </message>
    <message>
        <source>Files of type:</source>
        <translation>Dateityp:</translation>
    </message>
    <message>
        <source>All Files (*)</source>
        <translation>Alle Dateien (*)</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>Alle Dateien (*)</translation>
    </message>
    <message>
        <source>Directories</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>Ö&amp;ffnen</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Speichern unter</translation>
    </message>
    <message>
        <source>&amp;Choose</source>
        <translation>&amp;Auswählen</translation>
    </message>
    <message>
        <source>Find Directory</source>
        <translation>Ordner suchen</translation>
    </message>
    <message>
        <source>&amp;Rename</source>
        <translation>&amp;Umbenennen</translation>
    </message>
    <message>
        <source>&amp;Delete</source>
        <translation>&amp;Löschen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Show &amp;hidden files</source>
        <translation>&amp;Versteckte Dateien anzeigen</translation>
    </message>
    <message>
        <source>&amp;New Folder</source>
        <translation>&amp;Neuer Ordner</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>Neuer Ordner</translation>
    </message>
    <message>
        <source>Show </source>
        <translation>Anzeigen: </translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Entfernen</translation>
    </message>
    <message>
        <source>My Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>Recent Places</source>
        <translation>Zuletzt besucht</translation>
    </message>
    <message>
        <source>Drive</source>
        <translation>Laufwerk</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>File Folder</source>
        <translation>Dateiordner</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>%1 File</source>
        <translation>%1-Datei</translation>
    </message>
    <message>
        <source>Alias</source>
        <translation>Alias</translation>
    </message>
    <message>
        <source>Shortcut</source>
        <translation>Verknüpfung</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
    <message>
        <source>%1 already exists.
Do you want to replace it?</source>
        <translation>%1 ist bereits vorhanden.
Möchten Sie die Datei ersetzen?</translation>
    </message>
    <message>
        <source>%1
File not found.
Please verify the correct file name was given.</source>
        <translation>%1
Die Datei wurde nicht gefunden.
Bitte prüfen Sie den Dateinamen.</translation>
    </message>
    <message>
        <source>%1
Directory not found.
Please verify the correct directory name was given.</source>
        <translation>%1
Der Ordner wurde nicht gefunden.
Bitte prüfen Sie den Ordnernamen.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is write protected.
Do you want to delete it anyway?</source>
        <translation>„%1“ ist schreibgeschützt.
Möchten Sie die Datei trotzdem löschen?</translation>
    </message>
    <message>
        <source>Are you sure you want to delete &apos;%1&apos;?</source>
        <translation>Möchten Sie „%1“ wirklich löschen?</translation>
    </message>
    <message>
        <source>Could not delete directory.</source>
        <translation>Der Ordner konnte nicht gelöscht werden.</translation>
    </message>
</context>
<context>
    <name>QFileSystemModel</name>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Date Modified</source>
        <translation>Geändert am</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>My Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>Invalid filename</source>
        <translation>Ungültiger Dateiname</translation>
    </message>
    <message>
        <source>&lt;b&gt;The name &quot;%1&quot; cannot be used.&lt;/b&gt;&lt;p&gt;Try using another name, with fewer characters or no punctuation marks.</source>
        <translation>&lt;b&gt;Der Name „%1“ kann nicht verwendet werden.&lt;/b&gt;&lt;p&gt;Wählen Sie einen anderen Namen mit weniger Zeichen oder ohne Satzzeichen.</translation>
    </message>
</context>
<context>
    <name>QGnomeTheme</name>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;OK</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Speichern</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Abbrechen</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>S&amp;chließen</translation>
    </message>
    <message>
        <source>Close without Saving</source>
        <translation>Ohne Speichern schließen</translation>
    </message>
</context>
<context>
    <name>QInputDialog</name>
    <message>
        <source>Enter a value:</source>
        <translation>Wert eingeben:</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Wiederholen</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>&amp;Ausschneiden</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>&amp;Einfügen</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
</context>
<context>
    <name>QMessageBox</name>
    <message>
        <source>Show Details...</source>
        <translation>Details anzeigen …</translation>
    </message>
    <message>
        <source>Hide Details...</source>
        <translation>Details ausblenden …</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Text.error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Text.success</source>
        <translation>Fertig</translation>
    </message>
    <message>
        <source>Dialog.deletePatient</source>
        <translation>Patient löschen</translation>
    </message>
    <message>
        <source>Dialog.confirmDeletePatient</source>
        <translation>Den Patienten „%1“ löschen? Das lässt sich nicht rückgängig machen.</translation>
    </message>
    <message>
        <source>Dialog.deleteRecord</source>
        <translation>Aufnahme löschen</translation>
    </message>
    <message>
        <source>Dialog.confirmDeleteRecord</source>
        <translation>Die Aufnahme vom %1 löschen? Das lässt sich nicht rückgängig machen.</translation>
    </message>
    <message>
        <source>Text.yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <source>Text.no</source>
        <translation>Nein</translation>
    </message>
    <message>
        <source>Text.January</source>
        <translation>Januar</translation>
    </message>
    <message>
        <source>Text.February</source>
        <translation>Februar</translation>
    </message>
    <message>
        <source>Text.March</source>
        <translation>März</translation>
    </message>
    <message>
        <source>Text.April</source>
        <translation>April</translation>
    </message>
    <message>
        <source>Text.May</source>
        <translation>Mai</translation>
    </message>
    <message>
        <source>Text.June</source>
        <translation>Juni</translation>
    </message>
    <message>
        <source>Text.July</source>
        <translation>Juli</translation>
    </message>
    <message>
        <source>Text.August</source>
        <translation>August</translation>
    </message>
    <message>
        <source>Text.September</source>
        <translation>September</translation>
    </message>
    <message>
        <source>Text.October</source>
        <translation>Oktober</translation>
    </message>
    <message>
        <source>Text.November</source>
        <translation>November</translation>
    </message>
    <message>
        <source>Text.December</source>
        <translation>Dezember</translation>
    </message>
</context>
<context>
    <name>QPagination</name>
    <message>
        <source>Text.previousPage</source>
        <translation>Vorherige Seite</translation>
    </message>
    <message>
        <source>Text.nextPage</source>
        <translation>Nächste Seite</translation>
    </message>
</context>
<context>
    <name>QPlatformTheme</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Save All</source>
        <translation>Alle speichern</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Ja</translation>
    </message>
    <message>
        <source>Yes to &amp;All</source>
        <translation>Ja, &amp;alle</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;Nein</translation>
    </message>
    <message>
        <source>N&amp;o to All</source>
        <translation>N&amp;ein, keine</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation>Abbruch</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>Ignorieren</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Verwerfen</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Anwenden</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>Restore Defaults</source>
        <translation>Standardwerte wiederherstellen</translation>
    </message>
</context>
<context>
    <name>QScrollBar</name>
    <message>
        <source>Scroll here</source>
        <translation>Hierher blättern</translation>
    </message>
    <message>
        <source>Top</source>
        <translation>Zum Anfang</translation>
    </message>
    <message>
        <source>Bottom</source>
        <translation>Zum Ende</translation>
    </message>
    <message>
        <source>Page up</source>
        <translation>Eine Seite nach oben</translation>
    </message>
    <message>
        <source>Page down</source>
        <translation>Eine Seite nach unten</translation>
    </message>
    <message>
        <source>Scroll up</source>
        <translation>Nach oben blättern</translation>
    </message>
    <message>
        <source>Scroll down</source>
        <translation>Nach unten blättern</translation>
    </message>
    <message>
        <source>Left edge</source>
        <translation>Zum linken Rand</translation>
    </message>
    <message>
        <source>Right edge</source>
        <translation>Zum rechten Rand</translation>
    </message>
    <message>
        <source>Page left</source>
        <translation>Eine Seite nach links</translation>
    </message>
    <message>
        <source>Page right</source>
        <translation>Eine Seite nach rechts</translation>
    </message>
    <message>
        <source>Scroll left</source>
        <translation>Nach links blättern</translation>
    </message>
    <message>
        <source>Scroll right</source>
        <translation>Nach rechts blättern</translation>
    </message>
</context>
<context>
    <name>QStandardPaths</name>
    <message>
        <source>Documents</source>
        <translation>Dokumente</translation>
    </message>
</context>
<context>
    <name>QTabBar</name>
    <message>
        <source>Scroll Left</source>
        <translation>Nach links blättern</translation>
    </message>
    <message>
        <source>Scroll Right</source>
        <translation>Nach rechts blättern</translation>
    </message>
</context>
<context>
    <name>QWidgetTextControl</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Rückgängig</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Wiederholen</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>&amp;Ausschneiden</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopieren</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>&amp;Einfügen</translation>
    </message>
    <message>
        <source>Copy &amp;Link Location</source>
        <translation>&amp;Link-Adresse kopieren</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Alles auswählen</translation>
    </message>
</context>
<context>
    <name>ReceiptModel</name>
    <message>
        <source>Text.marker</source>
        <translation>Marker</translation>
    </message>
    <message>
        <source>Text.matchPercent</source>
        <translation>Übereinstimmung, %</translation>
    </message>
    <message>
        <source>Text.amountFrequencies</source>
        <translation>Anzahl der Frequenzen</translation>
    </message>
</context>
<context>
    <name>RecordModel</name>
    <message>
        <source>Text.yes</source>
        <translation>Ja</translation>
    </message>
    <message>
        <source>Text.no</source>
        <translation>Nein</translation>
    </message>
    <message>
        <source>Text.recordedAt</source>
        <translation>Aufgenommen am</translation>
    </message>
    <message>
        <source>Text.doctorName</source>
        <translation>Behandler</translation>
    </message>
    <message>
        <source>Text.questionnaire</source>
        <translation>Fragebogen</translation>
    </message>
    <message>
        <source>Text.allRecords</source>
        <translation>Alle Aufnahmen</translation>
    </message>
</context>
<context>
    <name>SummaryTableModel</name>
    <message>
        <source>Text.category</source>
        <translation>Kategorie</translation>
    </message>
</context>
<context>
    <name>SymptomDelegate</name>
    <message>
        <source>Complaint.none</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>Complaint.periodic</source>
        <translation>Zeitweise</translation>
    </message>
    <message>
        <source>Complaint.moderate</source>
        <translation>Mäßig</translation>
    </message>
    <message>
        <source>Complaint.expressed</source>
        <translation>Ausgeprägt</translation>
    </message>
</context>
<context>
    <name>SymptomModel</name>
    <message>
        <source>Complaint.none</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>Complaint.periodic</source>
        <translation>Zeitweise</translation>
    </message>
    <message>
        <source>Complaint.moderate</source>
        <translation>Mäßig</translation>
    </message>
    <message>
        <source>Complaint.expressed</source>
        <translation>Ausgeprägt</translation>
    </message>
</context>
<context>
    <name>SymptomsTable</name>
    <message>
        <source>Text.symptom</source>
        <translation>Symptom</translation>
    </message>
    <message>
        <source>Text.complaintsNumber</source>
        <translation>Anzahl der Beschwerden</translation>
    </message>
    <message>
        <source>Text.severity</source>
        <translation>Ausprägung</translation>
    </message>
</context>
<context>
    <name>ViewAnalysis</name>
    <message>
        <source>Text.tabSummaryTable</source>
        <translation>Übersicht</translation>
    </message>
    <message>
        <source>Text.analyse</source>
        <translation>Analysieren</translation>
    </message>
    <message>
        <source>Text.tabMarkersAnalysis</source>
        <translation>Markeranalyse</translation>
    </message>
    <message>
        <source>Title.analysis</source>
        <translation>Analyse</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Patientenliste</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patientenkarte: %1</translation>
    </message>
    <message>
        <source>Text.category</source>
        <translation>Kategorie</translation>
    </message>
    <message>
        <source>Text.storage</source>
        <translation>Markersatz</translation>
    </message>
</context>
<context>
    <name>ViewComparativeAnalysis</name>
    <message>
        <source>Title.comparativeAnalysis</source>
        <translation>Vergleichsanalyse</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Patientenliste</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patientenkarte: %1</translation>
    </message>
</context>
<context>
    <name>ViewImpact</name>
    <message>
        <source>Text.minutes</source>
        <translation>min</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Patientenliste</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patientenkarte: %1</translation>
    </message>
    <message>
        <source>Text.sensor</source>
        <translation>Über den Sensor abspielen</translation>
    </message>
    <message>
        <source>Text.download</source>
        <translation>Als WAV-Datei speichern</translation>
    </message>
    <message>
        <source>Text.box</source>
        <translation>An das Ferngerät senden</translation>
    </message>
    <message>
        <source>Text.recipeCommand</source>
        <translation>Rezept</translation>
    </message>
    <message>
        <source>Text.selfRecipeCommand</source>
        <translation>Selbstständiges Rezept</translation>
    </message>
    <message>
        <source>Text.recipe</source>
        <translation>Rezept: %1, Aufnahme vom %2</translation>
    </message>
    <message>
        <source>Text.totalMarkers</source>
        <translation>Frequenzen gesamt: %1</translation>
    </message>
    <message>
        <source>Text.durationInMinutes</source>
        <translation>Dauer:</translation>
    </message>
    <message>
        <source>Text.start</source>
        <translation>Starten</translation>
    </message>
    <message>
        <source>Text.durationPerMarker</source>
        <translation>Dauer pro Marker:</translation>
    </message>
    <message>
        <source>Text.totalTime</source>
        <translation>Gesamtzeit: %1 min</translation>
    </message>
    <message>
        <source>Text.errorWavSave</source>
        <translation>Die WAV-Datei konnte nicht gespeichert werden. Prüfen Sie den Ordner und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>Text.addToRecipe</source>
        <translation>Marker hinzufügen</translation>
    </message>
    <message>
        <source>Text.recipeCommandSuccess</source>
        <translation>Das Rezept wurde an das Ferngerät gesendet.</translation>
    </message>
    <message>
        <source>Title.recipe</source>
        <translation>Rezept</translation>
    </message>
    <message>
        <source>Text.saveFile</source>
        <translation>Einwirkungssignal speichern</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>Mit diesem Patienten ist ein Ferngerät verknüpft</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Änderungen speichern</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>Das Rezept wurde geändert. Änderungen speichern?</translation>
    </message>
    <message>
        <source>Text.target</source>
        <translation>Ziel</translation>
    </message>
    <message>
        <source>Text.command</source>
        <translation>Befehl</translation>
    </message>
</context>
<context>
    <name>ViewPatient</name>
    <message>
        <source>Text.autospectrum</source>
        <translation>Autospektrum</translation>
    </message>
    <message>
        <source>Form.phone</source>
        <translation>Telefon:</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Patientenliste</translation>
    </message>
    <message>
        <source>Text.saveFile</source>
        <translation>Excel-Datei speichern</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>Mit diesem Patienten ist ein Ferngerät verknüpft</translation>
    </message>
    <message>
        <source>Text.deleteCommandTitle</source>
        <translation>Befehl löschen</translation>
    </message>
    <message>
        <source>Text.deleteCommandMessage</source>
        <translation>Den an das Ferngerät gesendeten Befehl löschen?</translation>
    </message>
    <message>
        <source>Text.errorSaveFile</source>
        <translation>Die Datei konnte nicht gespeichert werden. Prüfen Sie den Ordner und versuchen Sie es erneut.</translation>
    </message>
    <message>
        <source>Text.edit</source>
        <translation>Patient bearbeiten</translation>
    </message>
    <message>
        <source>Text.newRecord</source>
        <translation>Neue Aufnahme</translation>
    </message>
    <message>
        <source>Text.analysis</source>
        <translation>Analyse</translation>
    </message>
    <message>
        <source>Text.comparativeAnalysis</source>
        <translation>Vergleichsanalyse</translation>
    </message>
    <message>
        <source>Text.recoveryHistory</source>
        <translation>Erholungsverlauf</translation>
    </message>
    <message>
        <source>Text.excelExport</source>
        <translation>Export nach Excel</translation>
    </message>
    <message>
        <source>Text.deletePatient</source>
        <translation>Patient löschen</translation>
    </message>
    <message>
        <source>Text.deleteCommand</source>
        <translation>Befehl des Ferngeräts löschen</translation>
    </message>
    <message>
        <source>Text.manageDevice</source>
        <translation>Ferngerät verwalten</translation>
    </message>
    <message>
        <source>Text.deviceConnectSuccess</source>
        <translation>Das Ferngerät wurde mit dem Patienten verknüpft.</translation>
    </message>
    <message>
        <source>Text.deviceDisconnectSuccess</source>
        <translation>Die Verknüpfung des Ferngeräts wurde gelöst.</translation>
    </message>
    <message>
        <source>Text.deviceStatusChangeSuccess</source>
        <translation>Der Zustand des Ferngeräts wurde geändert.</translation>
    </message>
    <message>
        <source>Text.deleteCommandSuccess</source>
        <translation>Der Befehl wurde gelöscht.</translation>
    </message>
    <message>
        <source>Text.commandSuccess</source>
        <translation>Der Befehl wurde an das Ferngerät gesendet.</translation>
    </message>
    <message>
        <source>Title.patientView</source>
        <translation>Patientenkarte</translation>
    </message>
    <message>
        <source>Title.patientViewTable</source>
        <translation>Aufnahmen</translation>
    </message>
    <message>
        <source>Form.age</source>
        <translation>Alter:</translation>
    </message>
    <message>
        <source>Form.gender</source>
        <translation>Geschlecht:</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Text.receipt</source>
        <translation>Rezept</translation>
    </message>
</context>
<context>
    <name>ViewPatients</name>
    <message>
        <source>Text.name</source>
        <translation>Nach Name</translation>
    </message>
    <message>
        <source>Text.notes</source>
        <translation>Nach Notizen</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Text.listPatients</source>
        <translation>Patientenliste</translation>
    </message>
    <message>
        <source>Text.patientSearch</source>
        <translation>Patienten suchen</translation>
    </message>
    <message>
        <source>Text.newPatient</source>
        <translation>Neuer Patient</translation>
    </message>
    <message>
        <source>Title.patients</source>
        <translation>Patienten</translation>
    </message>
    <message>
        <source>Text.searchIn</source>
        <translation>Suchen in</translation>
    </message>
</context>
<context>
    <name>ViewReceipt</name>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Patientenliste</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patientenkarte: %1</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>Mit diesem Patienten ist ein Ferngerät verknüpft</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Änderungen speichern</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>Das Rezept wurde geändert. Änderungen speichern?</translation>
    </message>
    <message>
        <source>Text.receipt</source>
        <translation>Zum Rezept</translation>
    </message>
    <message>
        <source>Text.createRecipe</source>
        <translation>Rezept zusammenstellen: %1, Aufnahme vom %2</translation>
    </message>
    <message>
        <source>Text.load</source>
        <translation>Laden</translation>
    </message>
    <message>
        <source>Text.category</source>
        <translation>Kategorie</translation>
    </message>
    <message>
        <source>Text.storage</source>
        <translation>Markersatz</translation>
    </message>
</context>
<context>
    <name>ViewRecoveryHistory</name>
    <message>
        <source>Text.cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Patientenliste</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patientenkarte: %1</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Änderungen speichern</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>Der Fragebogen wurde geändert. Änderungen speichern?</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Text.newSymptom</source>
        <translation>Neues Symptom</translation>
    </message>
    <message>
        <source>Text.removeSymptom</source>
        <translation>Symptom entfernen</translation>
    </message>
    <message>
        <source>Text.symptomName</source>
        <translation>Bezeichnung des Symptoms:</translation>
    </message>
    <message>
        <source>Title.historyOfRecovery</source>
        <translation>Erholungsverlauf</translation>
    </message>
</context>
</TS>
