<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ru_RU">
<context>
    <name>AnalysisModel</name>
    <message>
        <source>Text.marker</source>
        <translation>Маркер</translation>
    </message>
</context>
<context>
    <name>AudioRecorder</name>
    <message>
        <source>Text.record</source>
        <translation>Запись</translation>
    </message>
    <message>
        <source>Text.reRecord</source>
        <translation>Записать заново</translation>
    </message>
    <message>
        <source>Text.saveRecord</source>
        <translation>Сохранить</translation>
    </message>
    <message>
        <source>Text.startRecord</source>
        <translation>Начать запись</translation>
    </message>
    <message>
        <source>Text.messageRemote</source>
        <translation>Или отправьте команду удалённому прибору пациента:</translation>
    </message>
    <message>
        <source>Text.send</source>
        <translation>Отправить</translation>
    </message>
    <message>
        <source>Title.signalRecord</source>
        <translation>Запись сигнала</translation>
    </message>
    <message>
        <source>Dialog.signalRecordInProgress</source>
        <translation>Идёт запись сигнала. Она длится три секунды.</translation>
    </message>
    <message>
        <source>Dialog.signalRecordConfirm</source>
        <translation>Сигнал записан. Сохраните его или запишите заново.</translation>
    </message>
    <message>
        <source>Dialog.signalRecord</source>
        <translation>Убедитесь, что датчик подключён, и начните запись.</translation>
    </message>
    <message>
        <source>Text.autospectrum</source>
        <translation>Автоспектр</translation>
    </message>
    <message>
        <source>Text.cancel</source>
        <translation>Отмена</translation>
    </message>
</context>
<context>
    <name>DialogAbout</name>
    <message>
        <source>Text.about</source>
        <translation>О программе Quelmar</translation>
    </message>
    <message>
        <source>Text.aboutProgramType</source>
        <translation>Запись, анализ и воспроизведение сигналов</translation>
    </message>
    <message>
        <source>Text.aboutVersion</source>
        <translation>Версия:</translation>
    </message>
    <message>
        <source>Text.aboutEmail</source>
        <translation>Эл. почта:</translation>
    </message>
    <message>
        <source>Text.aboutWebsite</source>
        <translation>Сайт:</translation>
    </message>
    <message>
        <source>Text.expiredAt</source>
        <translation>Доступ действует до:</translation>
    </message>
    <message>
        <source>Text.close</source>
        <translation>Закрыть</translation>
    </message>
</context>
<context>
    <name>DialogAutospectrum</name>
    <message>
        <source>Text.autospectrum</source>
        <translation>Автоспектр</translation>
    </message>
    <message>
        <source>Text.cancel</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>Text.duration</source>
        <translation>Длительность:</translation>
    </message>
    <message>
        <source>Text.confirm</source>
        <translation>Воспроизвести</translation>
    </message>
    <message>
        <source>Text.minutes</source>
        <translation> мин</translation>
    </message>
</context>
<context>
    <name>DialogChangePassword</name>
    <message>
        <source>Text.cancel</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>Text.confirm</source>
        <translation>Изменить</translation>
    </message>
    <message>
        <source>Text.changePassword</source>
        <translation>Смена пароля</translation>
    </message>
    <message>
        <source>Text.oldPassword</source>
        <translation>Текущий пароль:</translation>
    </message>
    <message>
        <source>Text.password</source>
        <translation>Новый пароль:</translation>
    </message>
    <message>
        <source>Text.passwordRepeat</source>
        <translation>Повторите новый пароль:</translation>
    </message>
    <message>
        <source>Text.error</source>
        <translation>Ошибка</translation>
    </message>
</context>
<context>
    <name>DialogLogin</name>
    <message>
        <source>Text.error</source>
        <translation>Ошибка</translation>
    </message>
    <message>
        <source>Title.application</source>
        <translation>Quelmar</translation>
    </message>
    <message>
        <source>Text.username</source>
        <translation>Имя пользователя</translation>
    </message>
    <message>
        <source>Text.password</source>
        <translation>Пароль</translation>
    </message>
    <message>
        <source>Text.login</source>
        <translation>Войти</translation>
    </message>
</context>
<context>
    <name>DialogManageDevices</name>
    <message>
        <source>Text.disableDevice</source>
        <translation>Отключить прибор</translation>
    </message>
    <message>
        <source>Text.enableDevice</source>
        <translation>Включить прибор</translation>
    </message>
    <message>
        <source>Text.titleDisconnect</source>
        <translation>Отвязка прибора</translation>
    </message>
    <message>
        <source>Text.confirmDisconnect</source>
        <translation>Отвязать удалённый прибор от этого пациента?</translation>
    </message>
    <message>
        <source>Text.manageDevices</source>
        <translation>Удалённый прибор</translation>
    </message>
    <message>
        <source>Text.connect</source>
        <translation>Привязать прибор</translation>
    </message>
    <message>
        <source>Text.disconnect</source>
        <translation>Отвязать прибор</translation>
    </message>
    <message>
        <source>Text.deviceNotConnected</source>
        <translation>Прибор не найден. Подключите его к порту USB и попробуйте ещё раз.</translation>
    </message>
</context>
<context>
    <name>DialogPlayer</name>
    <message>
        <source>Title.player</source>
        <translation>Воспроизведение</translation>
    </message>
    <message>
        <source>Text.play</source>
        <translation>Воспроизвести</translation>
    </message>
    <message>
        <source>Text.pause</source>
        <translation>Приостановить</translation>
    </message>
    <message>
        <source>Text.stop</source>
        <translation>Остановить</translation>
    </message>
</context>
<context>
    <name>FormPatient</name>
    <message>
        <source>Text.cancel</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>Text.day</source>
        <translation>ДД</translation>
    </message>
    <message>
        <source>Text.year</source>
        <translation>ГГГГ</translation>
    </message>
    <message>
        <source>Text.male</source>
        <translation>Мужской</translation>
    </message>
    <message>
        <source>Text.female</source>
        <translation>Женский</translation>
    </message>
    <message>
        <source>Dialog.createPatient</source>
        <translation>Новый пациент</translation>
    </message>
    <message>
        <source>Dialog.editPatient</source>
        <translation>Данные пациента</translation>
    </message>
    <message>
        <source>Form.notes</source>
        <translation>Заметки:</translation>
    </message>
    <message>
        <source>Form.name</source>
        <translation>Фамилия, имя, отчество</translation>
    </message>
    <message>
        <source>Form.patientAgreement</source>
        <translation>Пациент дал согласие на обработку персональных данных</translation>
    </message>
    <message>
        <source>Form.phone</source>
        <translation>Телефон</translation>
    </message>
    <message>
        <source>Text.name</source>
        <translation>Имя пациента</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Сохранить</translation>
    </message>
    <message>
        <source>Text.month</source>
        <translation>Месяц</translation>
    </message>
</context>
<context>
    <name>LoadingWindow</name>
    <message>
        <source>Text.requestInProgress</source>
        <translation>Пожалуйста, подождите…</translation>
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
        <translation>Выход</translation>
    </message>
    <message>
        <source>Text.closeMessage</source>
        <translation>Завершить работу с Quelmar?</translation>
    </message>
    <message>
        <source>Text.upToDate</source>
        <translation>У вас установлена последняя версия Quelmar.</translation>
    </message>
    <message>
        <source>Text.updatesAvailable</source>
        <translation>Доступна новая версия Quelmar.</translation>
    </message>
    <message>
        <source>Text.updatesTitle</source>
        <translation>Обновления</translation>
    </message>
    <message>
        <source>Text.impactFinished</source>
        <translation>Воздействие завершено: сигнал воспроизведён до конца.</translation>
    </message>
    <message>
        <source>Text.changeLocaleSuccess</source>
        <translation>Язык изменён. Уже открытые экраны останутся на прежнем языке, пока не будут открыты заново.</translation>
    </message>
    <message>
        <source>Dialog.successChangePassword</source>
        <translation>Пароль изменён.</translation>
    </message>
    <message>
        <source>Menu.password</source>
        <translation>Сменить пароль…</translation>
    </message>
    <message>
        <source>Menu.updates</source>
        <translation>Проверить обновления</translation>
    </message>
    <message>
        <source>Menu.about</source>
        <translation>О программе Quelmar</translation>
    </message>
    <message>
        <source>Menu.application</source>
        <translation>Программа</translation>
    </message>
    <message>
        <source>Menu.language</source>
        <translation>Язык</translation>
    </message>
</context>
<context>
    <name>PatientManager</name>
    <message>
        <source>Text.invalidName</source>
        <translation>Укажите имя пациента.</translation>
    </message>
    <message>
        <source>Text.invalidBirthDate</source>
        <translation>Укажите правильную дату рождения.</translation>
    </message>
</context>
<context>
    <name>PatientModel</name>
    <message>
        <source>Text.deviceNotConnected</source>
        <translation>Удалённый прибор не привязан</translation>
    </message>
    <message>
        <source>Text.name</source>
        <translation>Имя</translation>
    </message>
    <message>
        <source>Text.noCommands</source>
        <translation>Удалённый прибор привязан, команд нет</translation>
    </message>
    <message>
        <source>Text.recordInProgress</source>
        <translation>Идёт удалённая запись</translation>
    </message>
    <message>
        <source>Text.recordComplete</source>
        <translation>Удалённая запись завершена</translation>
    </message>
    <message>
        <source>Text.recipeInProgress</source>
        <translation>Рецепт выполняется на удалённом приборе</translation>
    </message>
    <message>
        <source>Text.recipeComplete</source>
        <translation>Рецепт выполнен</translation>
    </message>
    <message>
        <source>Text.age</source>
        <translation>Возраст</translation>
    </message>
    <message>
        <source>Text.gender</source>
        <translation>Пол</translation>
    </message>
    <message>
        <source>Text.lastRecordDate</source>
        <translation>Последняя запись</translation>
    </message>
    <message>
        <source>Text.phone</source>
        <translation>Телефон</translation>
    </message>
    <message>
        <source>Text.notes</source>
        <translation>Заметки</translation>
    </message>
</context>
<context>
    <name>QAbstractSpinBox</name>
    <message>
        <source>&amp;Select All</source>
        <translation>&amp;Выделить всё</translation>
    </message>
    <message>
        <source>&amp;Step up</source>
        <translation>&amp;Больше</translation>
    </message>
    <message>
        <source>Step &amp;down</source>
        <translation>&amp;Меньше</translation>
    </message>
</context>
<context>
    <name>QDialog</name>
    <message>
        <source>What&apos;s This?</source>
        <translation>Что это?</translation>
    </message>
</context>
<context>
    <name>QDialogButtonBox</name>
    <message>
        <source>OK</source>
        <translation>ОК</translation>
    </message>
</context>
<context>
    <name>QFileDialog</name>
    <message>
        <source>Look in:</source>
        <translation>Папка:</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Назад</translation>
    </message>
    <message>
        <source>Go back</source>
        <translation>Перейти назад</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Вперёд</translation>
    </message>
    <message>
        <source>Go forward</source>
        <translation>Перейти вперёд</translation>
    </message>
    <message>
        <source>Parent Directory</source>
        <translation>На уровень вверх</translation>
    </message>
    <message>
        <source>Go to the parent directory</source>
        <translation>Перейти на уровень вверх</translation>
    </message>
    <message>
        <source>Create New Folder</source>
        <translation>Создать папку</translation>
    </message>
    <message>
        <source>Create a New Folder</source>
        <translation>Создать новую папку</translation>
    </message>
    <message>
        <source>List View</source>
        <translation>Список</translation>
    </message>
    <message>
        <source>Change to list view mode</source>
        <translation>Показать файлы списком</translation>
    </message>
    <message>
        <source>Detail View</source>
        <translation>Таблица</translation>
    </message>
    <message>
        <source>Change to detail view mode</source>
        <translation>Показать файлы таблицей</translation>
    </message>
    <message>
        <source>Sidebar</source>
        <translation>Боковая панель</translation>
    </message>
    <message>
        <source>List of places and bookmarks</source>
        <translation>Список мест и закладок</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Файлы</translation>
    </message>
    <message>
        <source>File &amp;name:</source>
        <translation>&amp;Имя файла:</translation>
    </message>
    <message>
        <source>Directory:</source>
        <translation>Папка:</translation>
    </message>
    <message>
        <source>Files of type:</source>
        <translation>Тип файлов:</translation>
    </message>
    <message>
        <source>All Files (*)</source>
        <translation>Все файлы (*)</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>Все файлы (*)</translation>
    </message>
    <message>
        <source>Directories</source>
        <translation>Папки</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>&amp;Открыть</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Открыть</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Сохранить</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Сохранить как</translation>
    </message>
    <message>
        <source>&amp;Choose</source>
        <translation>&amp;Выбрать</translation>
    </message>
    <message>
        <source>Find Directory</source>
        <translation>Найти папку</translation>
    </message>
    <message>
        <source>&amp;Rename</source>
        <translation>&amp;Переименовать</translation>
    </message>
    <message>
        <source>&amp;Delete</source>
        <translation>&amp;Удалить</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Удалить</translation>
    </message>
    <message>
        <source>Show &amp;hidden files</source>
        <translation>Показывать &amp;скрытые файлы</translation>
    </message>
    <message>
        <source>&amp;New Folder</source>
        <translation>&amp;Новая папка</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>Новая папка</translation>
    </message>
    <message>
        <source>Show </source>
        <translation>Показать </translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Убрать</translation>
    </message>
    <message>
        <source>My Computer</source>
        <translation>Компьютер</translation>
    </message>
    <message>
        <source>Recent Places</source>
        <translation>Недавние места</translation>
    </message>
    <message>
        <source>Drive</source>
        <translation>Диск</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Папка</translation>
    </message>
    <message>
        <source>File Folder</source>
        <translation>Папка с файлами</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Файл</translation>
    </message>
    <message>
        <source>%1 File</source>
        <translation>Файл %1</translation>
    </message>
    <message>
        <source>Alias</source>
        <translation>Псевдоним</translation>
    </message>
    <message>
        <source>Shortcut</source>
        <translation>Ярлык</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Неизвестно</translation>
    </message>
    <message>
        <source>%1 already exists.
Do you want to replace it?</source>
        <translation>Файл %1 уже существует.
Заменить его?</translation>
    </message>
    <message>
        <source>%1
File not found.
Please verify the correct file name was given.</source>
        <translation>%1
Файл не найден.
Проверьте, правильно ли указано имя файла.</translation>
    </message>
    <message>
        <source>%1
Directory not found.
Please verify the correct directory name was given.</source>
        <translation>%1
Папка не найдена.
Проверьте, правильно ли указано имя папки.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is write protected.
Do you want to delete it anyway?</source>
        <translation>Файл «%1» защищён от записи.
Всё равно удалить его?</translation>
    </message>
    <message>
        <source>Are you sure you want to delete &apos;%1&apos;?</source>
        <translation>Удалить «%1»?</translation>
    </message>
    <message>
        <source>Could not delete directory.</source>
        <translation>Не удалось удалить папку.</translation>
    </message>
</context>
<context>
    <name>QFileSystemModel</name>
    <message>
        <source>Name</source>
        <translation>Имя</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Размер</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Тип</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Вид</translation>
    </message>
    <message>
        <source>Date Modified</source>
        <translation>Дата изменения</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Компьютер</translation>
    </message>
    <message>
        <source>My Computer</source>
        <translation>Компьютер</translation>
    </message>
    <message>
        <source>Invalid filename</source>
        <translation>Недопустимое имя файла</translation>
    </message>
    <message>
        <source>&lt;b&gt;The name &quot;%1&quot; cannot be used.&lt;/b&gt;&lt;p&gt;Try using another name, with fewer characters or no punctuation marks.</source>
        <translation>&lt;b&gt;Имя «%1» использовать нельзя.&lt;/b&gt;&lt;p&gt;Выберите другое имя: короче или без знаков препинания.</translation>
    </message>
</context>
<context>
    <name>QGnomeTheme</name>
    <message>
        <source>&amp;OK</source>
        <translation>О&amp;К</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Сохранить</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Отмена</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Закрыть</translation>
    </message>
    <message>
        <source>Close without Saving</source>
        <translation>Закрыть без сохранения</translation>
    </message>
</context>
<context>
    <name>QInputDialog</name>
    <message>
        <source>Enter a value:</source>
        <translation>Введите значение:</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Отменить</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Повторить</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>&amp;Вырезать</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Копировать</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>Вст&amp;авить</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Удалить</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Выделить всё</translation>
    </message>
</context>
<context>
    <name>QMessageBox</name>
    <message>
        <source>Show Details...</source>
        <translation>Показать подробности…</translation>
    </message>
    <message>
        <source>Hide Details...</source>
        <translation>Скрыть подробности…</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Text.error</source>
        <translation>Ошибка</translation>
    </message>
    <message>
        <source>Text.success</source>
        <translation>Готово</translation>
    </message>
    <message>
        <source>Dialog.deletePatient</source>
        <translation>Удаление пациента</translation>
    </message>
    <message>
        <source>Dialog.confirmDeletePatient</source>
        <translation>Удалить пациента «%1»? Отменить удаление будет невозможно.</translation>
    </message>
    <message>
        <source>Dialog.deleteRecord</source>
        <translation>Удаление записи</translation>
    </message>
    <message>
        <source>Dialog.confirmDeleteRecord</source>
        <translation>Удалить запись от %1? Отменить удаление будет невозможно.</translation>
    </message>
    <message>
        <source>Text.yes</source>
        <translation>Да</translation>
    </message>
    <message>
        <source>Text.no</source>
        <translation>Нет</translation>
    </message>
    <message>
        <source>Text.January</source>
        <translation>января</translation>
    </message>
    <message>
        <source>Text.February</source>
        <translation>февраля</translation>
    </message>
    <message>
        <source>Text.March</source>
        <translation>марта</translation>
    </message>
    <message>
        <source>Text.April</source>
        <translation>апреля</translation>
    </message>
    <message>
        <source>Text.May</source>
        <translation>мая</translation>
    </message>
    <message>
        <source>Text.June</source>
        <translation>июня</translation>
    </message>
    <message>
        <source>Text.July</source>
        <translation>июля</translation>
    </message>
    <message>
        <source>Text.August</source>
        <translation>августа</translation>
    </message>
    <message>
        <source>Text.September</source>
        <translation>сентября</translation>
    </message>
    <message>
        <source>Text.October</source>
        <translation>октября</translation>
    </message>
    <message>
        <source>Text.November</source>
        <translation>ноября</translation>
    </message>
    <message>
        <source>Text.December</source>
        <translation>декабря</translation>
    </message>
</context>
<context>
    <name>QPagination</name>
    <message>
        <source>Text.previousPage</source>
        <translation>Предыдущая страница</translation>
    </message>
    <message>
        <source>Text.nextPage</source>
        <translation>Следующая страница</translation>
    </message>
</context>
<context>
    <name>QPlatformTheme</name>
    <message>
        <source>OK</source>
        <translation>ОК</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Сохранить</translation>
    </message>
    <message>
        <source>Save All</source>
        <translation>Сохранить все</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Открыть</translation>
    </message>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Да</translation>
    </message>
    <message>
        <source>Yes to &amp;All</source>
        <translation>Да для &amp;всех</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;Нет</translation>
    </message>
    <message>
        <source>N&amp;o to All</source>
        <translation>Н&amp;ет для всех</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation>Прервать</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Повторить</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>Пропустить</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Закрыть</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Не сохранять</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Справка</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Применить</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Сбросить</translation>
    </message>
    <message>
        <source>Restore Defaults</source>
        <translation>Вернуть значения по умолчанию</translation>
    </message>
</context>
<context>
    <name>QScrollBar</name>
    <message>
        <source>Scroll here</source>
        <translation>Прокрутить сюда</translation>
    </message>
    <message>
        <source>Top</source>
        <translation>В начало</translation>
    </message>
    <message>
        <source>Bottom</source>
        <translation>В конец</translation>
    </message>
    <message>
        <source>Page up</source>
        <translation>На страницу вверх</translation>
    </message>
    <message>
        <source>Page down</source>
        <translation>На страницу вниз</translation>
    </message>
    <message>
        <source>Scroll up</source>
        <translation>Прокрутить вверх</translation>
    </message>
    <message>
        <source>Scroll down</source>
        <translation>Прокрутить вниз</translation>
    </message>
    <message>
        <source>Left edge</source>
        <translation>К левому краю</translation>
    </message>
    <message>
        <source>Right edge</source>
        <translation>К правому краю</translation>
    </message>
    <message>
        <source>Page left</source>
        <translation>На страницу влево</translation>
    </message>
    <message>
        <source>Page right</source>
        <translation>На страницу вправо</translation>
    </message>
    <message>
        <source>Scroll left</source>
        <translation>Прокрутить влево</translation>
    </message>
    <message>
        <source>Scroll right</source>
        <translation>Прокрутить вправо</translation>
    </message>
</context>
<context>
    <name>QStandardPaths</name>
    <message>
        <source>Documents</source>
        <translation>Документы</translation>
    </message>
</context>
<context>
    <name>QTabBar</name>
    <message>
        <source>Scroll Left</source>
        <translation>Прокрутить влево</translation>
    </message>
    <message>
        <source>Scroll Right</source>
        <translation>Прокрутить вправо</translation>
    </message>
</context>
<context>
    <name>QWidgetTextControl</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Отменить</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Повторить</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>&amp;Вырезать</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Копировать</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>Вст&amp;авить</translation>
    </message>
    <message>
        <source>Copy &amp;Link Location</source>
        <translation>Копировать адрес &amp;ссылки</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Удалить</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Выделить всё</translation>
    </message>
</context>
<context>
    <name>ReceiptModel</name>
    <message>
        <source>Text.marker</source>
        <translation>Маркер</translation>
    </message>
    <message>
        <source>Text.matchPercent</source>
        <translation>Совпадение, %</translation>
    </message>
    <message>
        <source>Text.amountFrequencies</source>
        <translation>Количество частот</translation>
    </message>
</context>
<context>
    <name>RecordModel</name>
    <message>
        <source>Text.yes</source>
        <translation>Да</translation>
    </message>
    <message>
        <source>Text.no</source>
        <translation>Нет</translation>
    </message>
    <message>
        <source>Text.recordedAt</source>
        <translation>Дата записи</translation>
    </message>
    <message>
        <source>Text.doctorName</source>
        <translation>Специалист</translation>
    </message>
    <message>
        <source>Text.questionnaire</source>
        <translation>Анкета</translation>
    </message>
    <message>
        <source>Text.allRecords</source>
        <translation>Все записи</translation>
    </message>
</context>
<context>
    <name>SummaryTableModel</name>
    <message>
        <source>Text.category</source>
        <translation>Категория</translation>
    </message>
</context>
<context>
    <name>SymptomDelegate</name>
    <message>
        <source>Complaint.none</source>
        <translation>Нет</translation>
    </message>
    <message>
        <source>Complaint.periodic</source>
        <translation>Периодическая</translation>
    </message>
    <message>
        <source>Complaint.moderate</source>
        <translation>Умеренная</translation>
    </message>
    <message>
        <source>Complaint.expressed</source>
        <translation>Выраженная</translation>
    </message>
</context>
<context>
    <name>SymptomModel</name>
    <message>
        <source>Complaint.none</source>
        <translation>Нет</translation>
    </message>
    <message>
        <source>Complaint.periodic</source>
        <translation>Периодическая</translation>
    </message>
    <message>
        <source>Complaint.moderate</source>
        <translation>Умеренная</translation>
    </message>
    <message>
        <source>Complaint.expressed</source>
        <translation>Выраженная</translation>
    </message>
</context>
<context>
    <name>SymptomsTable</name>
    <message>
        <source>Text.symptom</source>
        <translation>Симптом</translation>
    </message>
    <message>
        <source>Text.complaintsNumber</source>
        <translation>Количество жалоб</translation>
    </message>
    <message>
        <source>Text.severity</source>
        <translation>Выраженность</translation>
    </message>
</context>
<context>
    <name>ViewAnalysis</name>
    <message>
        <source>Text.tabSummaryTable</source>
        <translation>Сводная таблица</translation>
    </message>
    <message>
        <source>Text.analyse</source>
        <translation>Анализировать</translation>
    </message>
    <message>
        <source>Text.tabMarkersAnalysis</source>
        <translation>Анализ маркеров</translation>
    </message>
    <message>
        <source>Title.analysis</source>
        <translation>Анализ</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Список пациентов</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Карточка пациента: %1</translation>
    </message>
    <message>
        <source>Text.category</source>
        <translation>Категория</translation>
    </message>
    <message>
        <source>Text.storage</source>
        <translation>Набор маркеров</translation>
    </message>
</context>
<context>
    <name>ViewComparativeAnalysis</name>
    <message>
        <source>Title.comparativeAnalysis</source>
        <translation>Сравнительный анализ</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Список пациентов</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Карточка пациента: %1</translation>
    </message>
</context>
<context>
    <name>ViewImpact</name>
    <message>
        <source>Text.minutes</source>
        <translation>мин</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Сохранить</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Список пациентов</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Карточка пациента: %1</translation>
    </message>
    <message>
        <source>Text.sensor</source>
        <translation>Воспроизвести через датчик</translation>
    </message>
    <message>
        <source>Text.download</source>
        <translation>Сохранить в файл WAV</translation>
    </message>
    <message>
        <source>Text.box</source>
        <translation>Отправить на удалённый прибор</translation>
    </message>
    <message>
        <source>Text.recipeCommand</source>
        <translation>Рецепт</translation>
    </message>
    <message>
        <source>Text.selfRecipeCommand</source>
        <translation>Самостоятельный рецепт</translation>
    </message>
    <message>
        <source>Text.recipe</source>
        <translation>Рецепт: %1, запись от %2</translation>
    </message>
    <message>
        <source>Text.totalMarkers</source>
        <translation>Всего частот: %1</translation>
    </message>
    <message>
        <source>Text.durationInMinutes</source>
        <translation>Длительность:</translation>
    </message>
    <message>
        <source>Text.start</source>
        <translation>Начать</translation>
    </message>
    <message>
        <source>Text.durationPerMarker</source>
        <translation>Длительность на маркер:</translation>
    </message>
    <message>
        <source>Text.totalTime</source>
        <translation>Общее время: %1 мин</translation>
    </message>
    <message>
        <source>Text.errorWavSave</source>
        <translation>Не удалось сохранить файл WAV. Проверьте папку и попробуйте ещё раз.</translation>
    </message>
    <message>
        <source>Text.addToRecipe</source>
        <translation>Добавить маркеры</translation>
    </message>
    <message>
        <source>Text.recipeCommandSuccess</source>
        <translation>Рецепт отправлен на удалённый прибор.</translation>
    </message>
    <message>
        <source>Title.recipe</source>
        <translation>Рецепт</translation>
    </message>
    <message>
        <source>Text.saveFile</source>
        <translation>Сохранить сигнал воздействия</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>К пациенту привязан удалённый прибор</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Сохранение изменений</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>Рецепт изменён. Сохранить изменения?</translation>
    </message>
    <message>
        <source>Text.target</source>
        <translation>Назначение</translation>
    </message>
    <message>
        <source>Text.command</source>
        <translation>Команда</translation>
    </message>
</context>
<context>
    <name>ViewPatient</name>
    <message>
        <source>Text.autospectrum</source>
        <translation>Автоспектр</translation>
    </message>
    <message>
        <source>Form.phone</source>
        <translation>Телефон:</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Список пациентов</translation>
    </message>
    <message>
        <source>Text.saveFile</source>
        <translation>Сохранить файл Excel</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>К пациенту привязан удалённый прибор</translation>
    </message>
    <message>
        <source>Text.deleteCommandTitle</source>
        <translation>Удаление команды</translation>
    </message>
    <message>
        <source>Text.deleteCommandMessage</source>
        <translation>Удалить команду, отправленную удалённому прибору?</translation>
    </message>
    <message>
        <source>Text.errorSaveFile</source>
        <translation>Не удалось сохранить файл. Проверьте папку и попробуйте ещё раз.</translation>
    </message>
    <message>
        <source>Text.edit</source>
        <translation>Изменить данные пациента</translation>
    </message>
    <message>
        <source>Text.newRecord</source>
        <translation>Новая запись</translation>
    </message>
    <message>
        <source>Text.analysis</source>
        <translation>Анализ</translation>
    </message>
    <message>
        <source>Text.comparativeAnalysis</source>
        <translation>Сравнительный анализ</translation>
    </message>
    <message>
        <source>Text.recoveryHistory</source>
        <translation>История восстановления</translation>
    </message>
    <message>
        <source>Text.excelExport</source>
        <translation>Экспорт в Excel</translation>
    </message>
    <message>
        <source>Text.deletePatient</source>
        <translation>Удалить пациента</translation>
    </message>
    <message>
        <source>Text.deleteCommand</source>
        <translation>Удалить команду удалённого прибора</translation>
    </message>
    <message>
        <source>Text.manageDevice</source>
        <translation>Управление удалённым прибором</translation>
    </message>
    <message>
        <source>Text.deviceConnectSuccess</source>
        <translation>Удалённый прибор привязан к пациенту.</translation>
    </message>
    <message>
        <source>Text.deviceDisconnectSuccess</source>
        <translation>Удалённый прибор отвязан от пациента.</translation>
    </message>
    <message>
        <source>Text.deviceStatusChangeSuccess</source>
        <translation>Состояние удалённого прибора изменено.</translation>
    </message>
    <message>
        <source>Text.deleteCommandSuccess</source>
        <translation>Команда удалена.</translation>
    </message>
    <message>
        <source>Text.commandSuccess</source>
        <translation>Команда отправлена удалённому прибору.</translation>
    </message>
    <message>
        <source>Title.patientView</source>
        <translation>Карточка пациента</translation>
    </message>
    <message>
        <source>Title.patientViewTable</source>
        <translation>Записи</translation>
    </message>
    <message>
        <source>Form.age</source>
        <translation>Возраст:</translation>
    </message>
    <message>
        <source>Form.gender</source>
        <translation>Пол:</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Обновить</translation>
    </message>
    <message>
        <source>Text.receipt</source>
        <translation>Рецепт</translation>
    </message>
</context>
<context>
    <name>ViewPatients</name>
    <message>
        <source>Text.name</source>
        <translation>По имени</translation>
    </message>
    <message>
        <source>Text.notes</source>
        <translation>По заметкам</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Обновить</translation>
    </message>
    <message>
        <source>Text.listPatients</source>
        <translation>Список пациентов</translation>
    </message>
    <message>
        <source>Text.patientSearch</source>
        <translation>Поиск пациента</translation>
    </message>
    <message>
        <source>Text.newPatient</source>
        <translation>Новый пациент</translation>
    </message>
    <message>
        <source>Title.patients</source>
        <translation>Пациенты</translation>
    </message>
    <message>
        <source>Text.searchIn</source>
        <translation>Искать в</translation>
    </message>
</context>
<context>
    <name>ViewReceipt</name>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Список пациентов</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Карточка пациента: %1</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>К пациенту привязан удалённый прибор</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Сохранение изменений</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>Рецепт изменён. Сохранить изменения?</translation>
    </message>
    <message>
        <source>Text.receipt</source>
        <translation>К рецепту</translation>
    </message>
    <message>
        <source>Text.createRecipe</source>
        <translation>Составление рецепта: %1, запись от %2</translation>
    </message>
    <message>
        <source>Text.load</source>
        <translation>Загрузить</translation>
    </message>
    <message>
        <source>Text.category</source>
        <translation>Категория</translation>
    </message>
    <message>
        <source>Text.storage</source>
        <translation>Набор маркеров</translation>
    </message>
</context>
<context>
    <name>ViewRecoveryHistory</name>
    <message>
        <source>Text.cancel</source>
        <translation>Отмена</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Сохранить</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>Список пациентов</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Карточка пациента: %1</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Сохранение изменений</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>Анкета изменена. Сохранить изменения?</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Обновить</translation>
    </message>
    <message>
        <source>Text.newSymptom</source>
        <translation>Новый симптом</translation>
    </message>
    <message>
        <source>Text.removeSymptom</source>
        <translation>Удалить симптом</translation>
    </message>
    <message>
        <source>Text.symptomName</source>
        <translation>Название симптома:</translation>
    </message>
    <message>
        <source>Title.historyOfRecovery</source>
        <translation>История восстановления</translation>
    </message>
</context>
</TS>
