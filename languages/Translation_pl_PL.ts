<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pl_PL">
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
        <translation>Nagranie</translation>
    </message>
    <message>
        <source>Text.reRecord</source>
        <translation>Nagraj ponownie</translation>
    </message>
    <message>
        <source>Text.saveRecord</source>
        <translation>Zapisz</translation>
    </message>
    <message>
        <source>Text.startRecord</source>
        <translation>Rozpocznij nagrywanie</translation>
    </message>
    <message>
        <source>Text.messageRemote</source>
        <translation>Albo wyślij polecenie do zdalnego urządzenia pacjenta:</translation>
    </message>
    <message>
        <source>Text.send</source>
        <translation>Wyślij</translation>
    </message>
    <message>
        <source>Title.signalRecord</source>
        <translation>Nagrywanie sygnału</translation>
    </message>
    <message>
        <source>Dialog.signalRecordInProgress</source>
        <translation>Trwa nagrywanie sygnału. Zajmie to trzy sekundy.</translation>
    </message>
    <message>
        <source>Dialog.signalRecordConfirm</source>
        <translation>Sygnał został nagrany. Zapisz go albo nagraj ponownie.</translation>
    </message>
    <message>
        <source>Dialog.signalRecord</source>
        <translation>Upewnij się, że czujnik jest podłączony, i rozpocznij nagrywanie.</translation>
    </message>
    <message>
        <source>Text.autospectrum</source>
        <translation>Autospektrum</translation>
    </message>
    <message>
        <source>Text.cancel</source>
        <translation>Anuluj</translation>
    </message>
</context>
<context>
    <name>DialogAbout</name>
    <message>
        <source>Text.about</source>
        <translation>O programie Quelmar</translation>
    </message>
    <message>
        <source>Text.aboutProgramType</source>
        <translation>Nagrywanie, analiza i odtwarzanie sygnałów</translation>
    </message>
    <message>
        <source>Text.aboutVersion</source>
        <translation>Wersja:</translation>
    </message>
    <message>
        <source>Text.aboutEmail</source>
        <translation>E-mail:</translation>
    </message>
    <message>
        <source>Text.aboutWebsite</source>
        <translation>Strona internetowa:</translation>
    </message>
    <message>
        <source>Text.expiredAt</source>
        <translation>Dostęp ważny do:</translation>
    </message>
    <message>
        <source>Text.close</source>
        <translation>Zamknij</translation>
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
        <translation>Anuluj</translation>
    </message>
    <message>
        <source>Text.duration</source>
        <translation>Czas trwania:</translation>
    </message>
    <message>
        <source>Text.confirm</source>
        <translation>Odtwórz</translation>
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
        <translation>Anuluj</translation>
    </message>
    <message>
        <source>Text.confirm</source>
        <translation>Zmień</translation>
    </message>
    <message>
        <source>Text.changePassword</source>
        <translation>Zmiana hasła</translation>
    </message>
    <message>
        <source>Text.oldPassword</source>
        <translation>Obecne hasło:</translation>
    </message>
    <message>
        <source>Text.password</source>
        <translation>Nowe hasło:</translation>
    </message>
    <message>
        <source>Text.passwordRepeat</source>
        <translation>Powtórz nowe hasło:</translation>
    </message>
    <message>
        <source>Text.error</source>
        <translation>Błąd</translation>
    </message>
</context>
<context>
    <name>DialogLogin</name>
    <message>
        <source>Text.error</source>
        <translation>Błąd</translation>
    </message>
    <message>
        <source>Title.application</source>
        <translation>Quelmar</translation>
    </message>
    <message>
        <source>Text.username</source>
        <translation>Nazwa użytkownika</translation>
    </message>
    <message>
        <source>Text.password</source>
        <translation>Hasło</translation>
    </message>
    <message>
        <source>Text.login</source>
        <translation>Zaloguj się</translation>
    </message>
</context>
<context>
    <name>DialogManageDevices</name>
    <message>
        <source>Text.disableDevice</source>
        <translation>Wyłącz urządzenie</translation>
    </message>
    <message>
        <source>Text.enableDevice</source>
        <translation>Włącz urządzenie</translation>
    </message>
    <message>
        <source>Text.titleDisconnect</source>
        <translation>Odłączenie urządzenia</translation>
    </message>
    <message>
        <source>Text.confirmDisconnect</source>
        <translation>Odłączyć zdalne urządzenie od tego pacjenta?</translation>
    </message>
    <message>
        <source>Text.manageDevices</source>
        <translation>Zdalne urządzenie</translation>
    </message>
    <message>
        <source>Text.connect</source>
        <translation>Przypisz urządzenie</translation>
    </message>
    <message>
        <source>Text.disconnect</source>
        <translation>Odłącz urządzenie</translation>
    </message>
    <message>
        <source>Text.deviceNotConnected</source>
        <translation>Nie znaleziono urządzenia. Podłącz je do portu USB i spróbuj ponownie.</translation>
    </message>
</context>
<context>
    <name>DialogPlayer</name>
    <message>
        <source>Title.player</source>
        <translation>Odtwarzanie</translation>
    </message>
    <message>
        <source>Text.play</source>
        <translation>Odtwórz</translation>
    </message>
    <message>
        <source>Text.pause</source>
        <translation>Wstrzymaj</translation>
    </message>
    <message>
        <source>Text.stop</source>
        <translation>Zatrzymaj</translation>
    </message>
</context>
<context>
    <name>FormPatient</name>
    <message>
        <source>Text.cancel</source>
        <translation>Anuluj</translation>
    </message>
    <message>
        <source>Text.day</source>
        <translation>DD</translation>
    </message>
    <message>
        <source>Text.year</source>
        <translation>RRRR</translation>
    </message>
    <message>
        <source>Text.male</source>
        <translation>Mężczyzna</translation>
    </message>
    <message>
        <source>Text.female</source>
        <translation>Kobieta</translation>
    </message>
    <message>
        <source>Dialog.createPatient</source>
        <translation>Nowy pacjent</translation>
    </message>
    <message>
        <source>Dialog.editPatient</source>
        <translation>Edycja danych pacjenta</translation>
    </message>
    <message>
        <source>Form.notes</source>
        <translation>Notatki:</translation>
    </message>
    <message>
        <source>Form.name</source>
        <translation>Imię i nazwisko</translation>
    </message>
    <message>
        <source>Form.patientAgreement</source>
        <translation>Pacjent wyraził zgodę na przetwarzanie danych osobowych</translation>
    </message>
    <message>
        <source>Form.phone</source>
        <translation>Telefon</translation>
    </message>
    <message>
        <source>Text.name</source>
        <translation>Imię i nazwisko pacjenta</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Zapisz</translation>
    </message>
    <message>
        <source>Text.month</source>
        <translation>Miesiąc</translation>
    </message>
</context>
<context>
    <name>LoadingWindow</name>
    <message>
        <source>Text.requestInProgress</source>
        <translation>Proszę czekać…</translation>
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
        <translation>Zakończenie pracy</translation>
    </message>
    <message>
        <source>Text.closeMessage</source>
        <translation>Czy zakończyć pracę z programem Quelmar?</translation>
    </message>
    <message>
        <source>Text.upToDate</source>
        <translation>Używasz najnowszej wersji programu Quelmar.</translation>
    </message>
    <message>
        <source>Text.updatesAvailable</source>
        <translation>Dostępna jest nowsza wersja programu Quelmar.</translation>
    </message>
    <message>
        <source>Text.updatesTitle</source>
        <translation>Aktualizacje</translation>
    </message>
    <message>
        <source>Text.impactFinished</source>
        <translation>Sygnał oddziaływania został odtworzony do końca.</translation>
    </message>
    <message>
        <source>Text.changeLocaleSuccess</source>
        <translation>Język został zmieniony. Otwarte już ekrany pozostaną w poprzednim języku, dopóki nie zostaną otwarte ponownie.</translation>
    </message>
    <message>
        <source>Dialog.successChangePassword</source>
        <translation>Hasło zostało zmienione.</translation>
    </message>
    <message>
        <source>Menu.password</source>
        <translation>Zmień hasło…</translation>
    </message>
    <message>
        <source>Menu.updates</source>
        <translation>Sprawdź aktualizacje</translation>
    </message>
    <message>
        <source>Menu.about</source>
        <translation>O programie Quelmar</translation>
    </message>
    <message>
        <source>Menu.application</source>
        <translation>Program</translation>
    </message>
    <message>
        <source>Menu.language</source>
        <translation>Język</translation>
    </message>
</context>
<context>
    <name>PatientManager</name>
    <message>
        <source>Text.invalidName</source>
        <translation>Podaj imię i nazwisko pacjenta.</translation>
    </message>
    <message>
        <source>Text.invalidBirthDate</source>
        <translation>Podaj prawidłową datę urodzenia.</translation>
    </message>
</context>
<context>
    <name>PatientModel</name>
    <message>
        <source>Text.deviceNotConnected</source>
        <translation>Brak przypisanego zdalnego urządzenia</translation>
    </message>
    <message>
        <source>Text.name</source>
        <translation>Imię i nazwisko</translation>
    </message>
    <message>
        <source>Text.noCommands</source>
        <translation>Zdalne urządzenie przypisane, brak poleceń</translation>
    </message>
    <message>
        <source>Text.recordInProgress</source>
        <translation>Trwa zdalne nagrywanie</translation>
    </message>
    <message>
        <source>Text.recordComplete</source>
        <translation>Zdalne nagrywanie zakończone</translation>
    </message>
    <message>
        <source>Text.recipeInProgress</source>
        <translation>Receptura jest wykonywana na zdalnym urządzeniu</translation>
    </message>
    <message>
        <source>Text.recipeComplete</source>
        <translation>Receptura zakończona</translation>
    </message>
    <message>
        <source>Text.age</source>
        <translation>Wiek</translation>
    </message>
    <message>
        <source>Text.gender</source>
        <translation>Płeć</translation>
    </message>
    <message>
        <source>Text.lastRecordDate</source>
        <translation>Ostatnie nagranie</translation>
    </message>
    <message>
        <source>Text.phone</source>
        <translation>Telefon</translation>
    </message>
    <message>
        <source>Text.notes</source>
        <translation>Notatki</translation>
    </message>
</context>
<context>
    <name>QAbstractSpinBox</name>
    <message>
        <source>&amp;Select All</source>
        <translation>Zaznacz &amp;wszystko</translation>
    </message>
    <message>
        <source>&amp;Step up</source>
        <translation>&amp;Zwiększ</translation>
    </message>
    <message>
        <source>Step &amp;down</source>
        <translation>Z&amp;mniejsz</translation>
    </message>
</context>
<context>
    <name>QDialog</name>
    <message>
        <source>What&apos;s This?</source>
        <translation>Co to jest?</translation>
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
        <translation>Szukaj w:</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Wstecz</translation>
    </message>
    <message>
        <source>Go back</source>
        <translation>Przejdź wstecz</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Naprzód</translation>
    </message>
    <message>
        <source>Go forward</source>
        <translation>Przejdź naprzód</translation>
    </message>
    <message>
        <source>Parent Directory</source>
        <translation>Folder nadrzędny</translation>
    </message>
    <message>
        <source>Go to the parent directory</source>
        <translation>Przejdź do folderu nadrzędnego</translation>
    </message>
    <message>
        <source>Create New Folder</source>
        <translation>Utwórz nowy folder</translation>
    </message>
    <message>
        <source>Create a New Folder</source>
        <translation>Utwórz nowy folder</translation>
    </message>
    <message>
        <source>List View</source>
        <translation>Lista</translation>
    </message>
    <message>
        <source>Change to list view mode</source>
        <translation>Pokaż pliki jako listę</translation>
    </message>
    <message>
        <source>Detail View</source>
        <translation>Szczegóły</translation>
    </message>
    <message>
        <source>Change to detail view mode</source>
        <translation>Pokaż szczegóły plików</translation>
    </message>
    <message>
        <source>Sidebar</source>
        <translation>Panel boczny</translation>
    </message>
    <message>
        <source>List of places and bookmarks</source>
        <translation>Lista miejsc i zakładek</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Pliki</translation>
    </message>
    <message>
        <source>File &amp;name:</source>
        <translation>&amp;Nazwa pliku:</translation>
    </message>
    <message>
        <source>Directory:</source>
        <translation>Folder:</translation>
    </message>
    <message>
        <source>Files of type:</source>
        <translation>Pliki typu:</translation>
    </message>
    <message>
        <source>All Files (*)</source>
        <translation>Wszystkie pliki (*)</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>Wszystkie pliki (*)</translation>
    </message>
    <message>
        <source>Directories</source>
        <translation>Foldery</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>&amp;Otwórz</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Otwórz</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Zapisz</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Zapisz jako</translation>
    </message>
    <message>
        <source>&amp;Choose</source>
        <translation>&amp;Wybierz</translation>
    </message>
    <message>
        <source>Find Directory</source>
        <translation>Znajdź folder</translation>
    </message>
    <message>
        <source>&amp;Rename</source>
        <translation>Z&amp;mień nazwę</translation>
    </message>
    <message>
        <source>&amp;Delete</source>
        <translation>&amp;Usuń</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Usuń</translation>
    </message>
    <message>
        <source>Show &amp;hidden files</source>
        <translation>Pokaż u&amp;kryte pliki</translation>
    </message>
    <message>
        <source>&amp;New Folder</source>
        <translation>&amp;Nowy folder</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>Nowy folder</translation>
    </message>
    <message>
        <source>Show </source>
        <translation>Pokaż </translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Usuń z listy</translation>
    </message>
    <message>
        <source>My Computer</source>
        <translation>Komputer</translation>
    </message>
    <message>
        <source>Recent Places</source>
        <translation>Ostatnie miejsca</translation>
    </message>
    <message>
        <source>Drive</source>
        <translation>Dysk</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Folder</translation>
    </message>
    <message>
        <source>File Folder</source>
        <translation>Folder plików</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Plik</translation>
    </message>
    <message>
        <source>%1 File</source>
        <translation>Plik %1</translation>
    </message>
    <message>
        <source>Alias</source>
        <translation>Alias</translation>
    </message>
    <message>
        <source>Shortcut</source>
        <translation>Skrót</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Nieznany</translation>
    </message>
    <message>
        <source>%1 already exists.
Do you want to replace it?</source>
        <translation>Plik %1 już istnieje.
Czy go zastąpić?</translation>
    </message>
    <message>
        <source>%1
File not found.
Please verify the correct file name was given.</source>
        <translation>%1
Nie znaleziono pliku.
Sprawdź, czy nazwa pliku jest poprawna.</translation>
    </message>
    <message>
        <source>%1
Directory not found.
Please verify the correct directory name was given.</source>
        <translation>%1
Nie znaleziono folderu.
Sprawdź, czy nazwa folderu jest poprawna.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is write protected.
Do you want to delete it anyway?</source>
        <translation>Plik „%1” jest chroniony przed zapisem.
Czy mimo to go usunąć?</translation>
    </message>
    <message>
        <source>Are you sure you want to delete &apos;%1&apos;?</source>
        <translation>Czy na pewno usunąć „%1”?</translation>
    </message>
    <message>
        <source>Could not delete directory.</source>
        <translation>Nie udało się usunąć folderu.</translation>
    </message>
</context>
<context>
    <name>QFileSystemModel</name>
    <message>
        <source>Name</source>
        <translation>Nazwa</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Rozmiar</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Rodzaj</translation>
    </message>
    <message>
        <source>Date Modified</source>
        <translation>Data modyfikacji</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Komputer</translation>
    </message>
    <message>
        <source>My Computer</source>
        <translation>Komputer</translation>
    </message>
    <message>
        <source>Invalid filename</source>
        <translation>Nieprawidłowa nazwa pliku</translation>
    </message>
    <message>
        <source>&lt;b&gt;The name &quot;%1&quot; cannot be used.&lt;/b&gt;&lt;p&gt;Try using another name, with fewer characters or no punctuation marks.</source>
        <translation>&lt;b&gt;Nie można użyć nazwy „%1”.&lt;/b&gt;&lt;p&gt;Wybierz inną nazwę: krótszą lub bez znaków przestankowych.</translation>
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
        <translation>&amp;Zapisz</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Anuluj</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>Za&amp;mknij</translation>
    </message>
    <message>
        <source>Close without Saving</source>
        <translation>Zamknij bez zapisywania</translation>
    </message>
</context>
<context>
    <name>QInputDialog</name>
    <message>
        <source>Enter a value:</source>
        <translation>Wpisz wartość:</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Cofnij</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Ponów</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>Wy&amp;tnij</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopiuj</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>&amp;Wklej</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Usuń</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Zaznacz wszystko</translation>
    </message>
</context>
<context>
    <name>QMessageBox</name>
    <message>
        <source>Show Details...</source>
        <translation>Pokaż szczegóły…</translation>
    </message>
    <message>
        <source>Hide Details...</source>
        <translation>Ukryj szczegóły…</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Text.error</source>
        <translation>Błąd</translation>
    </message>
    <message>
        <source>Text.success</source>
        <translation>Gotowe</translation>
    </message>
    <message>
        <source>Dialog.deletePatient</source>
        <translation>Usuwanie pacjenta</translation>
    </message>
    <message>
        <source>Dialog.confirmDeletePatient</source>
        <translation>Usunąć pacjenta „%1”? Tej operacji nie można cofnąć.</translation>
    </message>
    <message>
        <source>Dialog.deleteRecord</source>
        <translation>Usuwanie nagrania</translation>
    </message>
    <message>
        <source>Dialog.confirmDeleteRecord</source>
        <translation>Usunąć nagranie z %1? Tej operacji nie można cofnąć.</translation>
    </message>
    <message>
        <source>Text.yes</source>
        <translation>Tak</translation>
    </message>
    <message>
        <source>Text.no</source>
        <translation>Nie</translation>
    </message>
    <message>
        <source>Text.January</source>
        <translation>stycznia</translation>
    </message>
    <message>
        <source>Text.February</source>
        <translation>lutego</translation>
    </message>
    <message>
        <source>Text.March</source>
        <translation>marca</translation>
    </message>
    <message>
        <source>Text.April</source>
        <translation>kwietnia</translation>
    </message>
    <message>
        <source>Text.May</source>
        <translation>maja</translation>
    </message>
    <message>
        <source>Text.June</source>
        <translation>czerwca</translation>
    </message>
    <message>
        <source>Text.July</source>
        <translation>lipca</translation>
    </message>
    <message>
        <source>Text.August</source>
        <translation>sierpnia</translation>
    </message>
    <message>
        <source>Text.September</source>
        <translation>września</translation>
    </message>
    <message>
        <source>Text.October</source>
        <translation>października</translation>
    </message>
    <message>
        <source>Text.November</source>
        <translation>listopada</translation>
    </message>
    <message>
        <source>Text.December</source>
        <translation>grudnia</translation>
    </message>
</context>
<context>
    <name>QPagination</name>
    <message>
        <source>Text.previousPage</source>
        <translation>Poprzednia strona</translation>
    </message>
    <message>
        <source>Text.nextPage</source>
        <translation>Następna strona</translation>
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
        <translation>Zapisz</translation>
    </message>
    <message>
        <source>Save All</source>
        <translation>Zapisz wszystko</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Otwórz</translation>
    </message>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Tak</translation>
    </message>
    <message>
        <source>Yes to &amp;All</source>
        <translation>Tak dla &amp;wszystkich</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;Nie</translation>
    </message>
    <message>
        <source>N&amp;o to All</source>
        <translation>Ni&amp;e dla wszystkich</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation>Przerwij</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Spróbuj ponownie</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>Ignoruj</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Zamknij</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Anuluj</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Odrzuć</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Pomoc</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Zastosuj</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Resetuj</translation>
    </message>
    <message>
        <source>Restore Defaults</source>
        <translation>Przywróć domyślne</translation>
    </message>
</context>
<context>
    <name>QScrollBar</name>
    <message>
        <source>Scroll here</source>
        <translation>Przewiń tutaj</translation>
    </message>
    <message>
        <source>Top</source>
        <translation>Początek</translation>
    </message>
    <message>
        <source>Bottom</source>
        <translation>Koniec</translation>
    </message>
    <message>
        <source>Page up</source>
        <translation>Strona w górę</translation>
    </message>
    <message>
        <source>Page down</source>
        <translation>Strona w dół</translation>
    </message>
    <message>
        <source>Scroll up</source>
        <translation>Przewiń w górę</translation>
    </message>
    <message>
        <source>Scroll down</source>
        <translation>Przewiń w dół</translation>
    </message>
    <message>
        <source>Left edge</source>
        <translation>Lewy brzeg</translation>
    </message>
    <message>
        <source>Right edge</source>
        <translation>Prawy brzeg</translation>
    </message>
    <message>
        <source>Page left</source>
        <translation>Strona w lewo</translation>
    </message>
    <message>
        <source>Page right</source>
        <translation>Strona w prawo</translation>
    </message>
    <message>
        <source>Scroll left</source>
        <translation>Przewiń w lewo</translation>
    </message>
    <message>
        <source>Scroll right</source>
        <translation>Przewiń w prawo</translation>
    </message>
</context>
<context>
    <name>QStandardPaths</name>
    <message>
        <source>Documents</source>
        <translation>Dokumenty</translation>
    </message>
</context>
<context>
    <name>QTabBar</name>
    <message>
        <source>Scroll Left</source>
        <translation>Przewiń w lewo</translation>
    </message>
    <message>
        <source>Scroll Right</source>
        <translation>Przewiń w prawo</translation>
    </message>
</context>
<context>
    <name>QWidgetTextControl</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Cofnij</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Ponów</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>Wy&amp;tnij</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Kopiuj</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>&amp;Wklej</translation>
    </message>
    <message>
        <source>Copy &amp;Link Location</source>
        <translation>Skopiuj adres &amp;odnośnika</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Usuń</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Zaznacz wszystko</translation>
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
        <translation>Zgodność, %</translation>
    </message>
    <message>
        <source>Text.amountFrequencies</source>
        <translation>Liczba częstotliwości</translation>
    </message>
</context>
<context>
    <name>RecordModel</name>
    <message>
        <source>Text.yes</source>
        <translation>Tak</translation>
    </message>
    <message>
        <source>Text.no</source>
        <translation>Nie</translation>
    </message>
    <message>
        <source>Text.recordedAt</source>
        <translation>Data nagrania</translation>
    </message>
    <message>
        <source>Text.doctorName</source>
        <translation>Specjalista</translation>
    </message>
    <message>
        <source>Text.questionnaire</source>
        <translation>Ankieta</translation>
    </message>
    <message>
        <source>Text.allRecords</source>
        <translation>Wszystkie nagrania</translation>
    </message>
</context>
<context>
    <name>SummaryTableModel</name>
    <message>
        <source>Text.category</source>
        <translation>Kategoria</translation>
    </message>
</context>
<context>
    <name>SymptomDelegate</name>
    <message>
        <source>Complaint.none</source>
        <translation>Brak</translation>
    </message>
    <message>
        <source>Complaint.periodic</source>
        <translation>Okresowa</translation>
    </message>
    <message>
        <source>Complaint.moderate</source>
        <translation>Umiarkowana</translation>
    </message>
    <message>
        <source>Complaint.expressed</source>
        <translation>Wyraźna</translation>
    </message>
</context>
<context>
    <name>SymptomModel</name>
    <message>
        <source>Complaint.none</source>
        <translation>Brak</translation>
    </message>
    <message>
        <source>Complaint.periodic</source>
        <translation>Okresowa</translation>
    </message>
    <message>
        <source>Complaint.moderate</source>
        <translation>Umiarkowana</translation>
    </message>
    <message>
        <source>Complaint.expressed</source>
        <translation>Wyraźna</translation>
    </message>
</context>
<context>
    <name>SymptomsTable</name>
    <message>
        <source>Text.symptom</source>
        <translation>Objaw</translation>
    </message>
    <message>
        <source>Text.complaintsNumber</source>
        <translation>Liczba dolegliwości</translation>
    </message>
    <message>
        <source>Text.severity</source>
        <translation>Nasilenie</translation>
    </message>
</context>
<context>
    <name>ViewAnalysis</name>
    <message>
        <source>Text.tabSummaryTable</source>
        <translation>Podsumowanie</translation>
    </message>
    <message>
        <source>Text.analyse</source>
        <translation>Analizuj</translation>
    </message>
    <message>
        <source>Text.tabMarkersAnalysis</source>
        <translation>Analiza markerów</translation>
    </message>
    <message>
        <source>Title.analysis</source>
        <translation>Analiza</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Lista pacjentów</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Karta pacjenta: %1</translation>
    </message>
    <message>
        <source>Text.category</source>
        <translation>Kategoria</translation>
    </message>
    <message>
        <source>Text.storage</source>
        <translation>Zestaw markerów</translation>
    </message>
</context>
<context>
    <name>ViewComparativeAnalysis</name>
    <message>
        <source>Title.comparativeAnalysis</source>
        <translation>Analiza porównawcza</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Lista pacjentów</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Karta pacjenta: %1</translation>
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
        <translation>Zapisz</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Lista pacjentów</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Karta pacjenta: %1</translation>
    </message>
    <message>
        <source>Text.sensor</source>
        <translation>Odtwórz przez czujnik</translation>
    </message>
    <message>
        <source>Text.download</source>
        <translation>Zapisz jako plik WAV</translation>
    </message>
    <message>
        <source>Text.box</source>
        <translation>Wyślij do zdalnego urządzenia</translation>
    </message>
    <message>
        <source>Text.recipeCommand</source>
        <translation>Receptura</translation>
    </message>
    <message>
        <source>Text.selfRecipeCommand</source>
        <translation>Receptura samodzielna</translation>
    </message>
    <message>
        <source>Text.recipe</source>
        <translation>Receptura: %1, nagranie z %2</translation>
    </message>
    <message>
        <source>Text.totalMarkers</source>
        <translation>Łącznie częstotliwości: %1</translation>
    </message>
    <message>
        <source>Text.durationInMinutes</source>
        <translation>Czas trwania:</translation>
    </message>
    <message>
        <source>Text.start</source>
        <translation>Rozpocznij</translation>
    </message>
    <message>
        <source>Text.durationPerMarker</source>
        <translation>Czas na marker:</translation>
    </message>
    <message>
        <source>Text.totalTime</source>
        <translation>Łączny czas: %1 min</translation>
    </message>
    <message>
        <source>Text.errorWavSave</source>
        <translation>Nie udało się zapisać pliku WAV. Sprawdź folder i spróbuj ponownie.</translation>
    </message>
    <message>
        <source>Text.addToRecipe</source>
        <translation>Dodaj markery</translation>
    </message>
    <message>
        <source>Text.recipeCommandSuccess</source>
        <translation>Receptura została wysłana do zdalnego urządzenia.</translation>
    </message>
    <message>
        <source>Title.recipe</source>
        <translation>Receptura</translation>
    </message>
    <message>
        <source>Text.saveFile</source>
        <translation>Zapisz sygnał oddziaływania</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>Do pacjenta przypisano zdalne urządzenie</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Zapisywanie zmian</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>Receptura została zmieniona. Zapisać zmiany?</translation>
    </message>
    <message>
        <source>Text.target</source>
        <translation>Cel</translation>
    </message>
    <message>
        <source>Text.command</source>
        <translation>Polecenie</translation>
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
        <translation>Lista pacjentów</translation>
    </message>
    <message>
        <source>Text.saveFile</source>
        <translation>Zapisz plik Excela</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>Do pacjenta przypisano zdalne urządzenie</translation>
    </message>
    <message>
        <source>Text.deleteCommandTitle</source>
        <translation>Usuwanie polecenia</translation>
    </message>
    <message>
        <source>Text.deleteCommandMessage</source>
        <translation>Usunąć polecenie wysłane do zdalnego urządzenia?</translation>
    </message>
    <message>
        <source>Text.errorSaveFile</source>
        <translation>Nie udało się zapisać pliku. Sprawdź folder i spróbuj ponownie.</translation>
    </message>
    <message>
        <source>Text.edit</source>
        <translation>Edytuj dane pacjenta</translation>
    </message>
    <message>
        <source>Text.newRecord</source>
        <translation>Nowe nagranie</translation>
    </message>
    <message>
        <source>Text.analysis</source>
        <translation>Analiza</translation>
    </message>
    <message>
        <source>Text.comparativeAnalysis</source>
        <translation>Analiza porównawcza</translation>
    </message>
    <message>
        <source>Text.recoveryHistory</source>
        <translation>Historia regeneracji</translation>
    </message>
    <message>
        <source>Text.excelExport</source>
        <translation>Eksport do Excela</translation>
    </message>
    <message>
        <source>Text.deletePatient</source>
        <translation>Usuń pacjenta</translation>
    </message>
    <message>
        <source>Text.deleteCommand</source>
        <translation>Usuń polecenie zdalnego urządzenia</translation>
    </message>
    <message>
        <source>Text.manageDevice</source>
        <translation>Zarządzaj zdalnym urządzeniem</translation>
    </message>
    <message>
        <source>Text.deviceConnectSuccess</source>
        <translation>Zdalne urządzenie zostało przypisane do pacjenta.</translation>
    </message>
    <message>
        <source>Text.deviceDisconnectSuccess</source>
        <translation>Zdalne urządzenie zostało odłączone od pacjenta.</translation>
    </message>
    <message>
        <source>Text.deviceStatusChangeSuccess</source>
        <translation>Stan zdalnego urządzenia został zmieniony.</translation>
    </message>
    <message>
        <source>Text.deleteCommandSuccess</source>
        <translation>Polecenie zostało usunięte.</translation>
    </message>
    <message>
        <source>Text.commandSuccess</source>
        <translation>Polecenie zostało wysłane do zdalnego urządzenia.</translation>
    </message>
    <message>
        <source>Title.patientView</source>
        <translation>Karta pacjenta</translation>
    </message>
    <message>
        <source>Title.patientViewTable</source>
        <translation>Nagrania</translation>
    </message>
    <message>
        <source>Form.age</source>
        <translation>Wiek:</translation>
    </message>
    <message>
        <source>Form.gender</source>
        <translation>Płeć:</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Odśwież</translation>
    </message>
    <message>
        <source>Text.receipt</source>
        <translation>Receptura</translation>
    </message>
</context>
<context>
    <name>ViewPatients</name>
    <message>
        <source>Text.name</source>
        <translation>Według nazwiska</translation>
    </message>
    <message>
        <source>Text.notes</source>
        <translation>Według notatek</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Odśwież</translation>
    </message>
    <message>
        <source>Text.listPatients</source>
        <translation>Lista pacjentów</translation>
    </message>
    <message>
        <source>Text.patientSearch</source>
        <translation>Szukaj pacjenta</translation>
    </message>
    <message>
        <source>Text.newPatient</source>
        <translation>Nowy pacjent</translation>
    </message>
    <message>
        <source>Title.patients</source>
        <translation>Pacjenci</translation>
    </message>
    <message>
        <source>Text.searchIn</source>
        <translation>Szukaj w</translation>
    </message>
</context>
<context>
    <name>ViewReceipt</name>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Lista pacjentów</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Karta pacjenta: %1</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>Do pacjenta przypisano zdalne urządzenie</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Zapisywanie zmian</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>Receptura została zmieniona. Zapisać zmiany?</translation>
    </message>
    <message>
        <source>Text.receipt</source>
        <translation>Przejdź do receptury</translation>
    </message>
    <message>
        <source>Text.createRecipe</source>
        <translation>Tworzenie receptury: %1, nagranie z %2</translation>
    </message>
    <message>
        <source>Text.load</source>
        <translation>Wczytaj</translation>
    </message>
    <message>
        <source>Text.category</source>
        <translation>Kategoria</translation>
    </message>
    <message>
        <source>Text.storage</source>
        <translation>Zestaw markerów</translation>
    </message>
</context>
<context>
    <name>ViewRecoveryHistory</name>
    <message>
        <source>Text.cancel</source>
        <translation>Anuluj</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Zapisz</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Lista pacjentów</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Karta pacjenta: %1</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Zapisywanie zmian</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>Ankieta została zmieniona. Zapisać zmiany?</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Odśwież</translation>
    </message>
    <message>
        <source>Text.newSymptom</source>
        <translation>Nowy objaw</translation>
    </message>
    <message>
        <source>Text.removeSymptom</source>
        <translation>Usuń objaw</translation>
    </message>
    <message>
        <source>Text.symptomName</source>
        <translation>Nazwa objawu:</translation>
    </message>
    <message>
        <source>Title.historyOfRecovery</source>
        <translation>Historia regeneracji</translation>
    </message>
</context>
</TS>
