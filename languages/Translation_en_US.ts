<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
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
        <translation>Record</translation>
    </message>
    <message>
        <source>Text.reRecord</source>
        <translation>Record again</translation>
    </message>
    <message>
        <source>Text.saveRecord</source>
        <translation>Save record</translation>
    </message>
    <message>
        <source>Text.startRecord</source>
        <translation>Start recording</translation>
    </message>
    <message>
        <source>Text.messageRemote</source>
        <translation>Or send a command to the patient’s remote device:</translation>
    </message>
    <message>
        <source>Text.send</source>
        <translation>Send</translation>
    </message>
    <message>
        <source>Title.signalRecord</source>
        <translation>Signal recording</translation>
    </message>
    <message>
        <source>Dialog.signalRecordInProgress</source>
        <translation>The signal is being recorded. This takes three seconds.</translation>
    </message>
    <message>
        <source>Dialog.signalRecordConfirm</source>
        <translation>The signal has been recorded. Save it or record it again.</translation>
    </message>
    <message>
        <source>Dialog.signalRecord</source>
        <translation>Make sure that the sensor is connected, then start recording.</translation>
    </message>
    <message>
        <source>Text.autospectrum</source>
        <translation>Autospectrum</translation>
    </message>
    <message>
        <source>Text.cancel</source>
        <translation>Cancel</translation>
    </message>
</context>
<context>
    <name>DialogAbout</name>
    <message>
        <source>Text.about</source>
        <translation>About Quelmar</translation>
    </message>
    <message>
        <source>Text.aboutProgramType</source>
        <translation>Recording, analysis and playback of signals</translation>
    </message>
    <message>
        <source>Text.aboutVersion</source>
        <translation>Version:</translation>
    </message>
    <message>
        <source>Text.aboutEmail</source>
        <translation>Email:</translation>
    </message>
    <message>
        <source>Text.aboutWebsite</source>
        <translation>Website:</translation>
    </message>
    <message>
        <source>Text.expiredAt</source>
        <translation>Access valid until:</translation>
    </message>
    <message>
        <source>Text.close</source>
        <translation>Close</translation>
    </message>
</context>
<context>
    <name>DialogAutospectrum</name>
    <message>
        <source>Text.autospectrum</source>
        <translation>Autospectrum</translation>
    </message>
    <message>
        <source>Text.cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Text.duration</source>
        <translation>Duration:</translation>
    </message>
    <message>
        <source>Text.confirm</source>
        <translation>Play</translation>
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
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Text.confirm</source>
        <translation>Change</translation>
    </message>
    <message>
        <source>Text.changePassword</source>
        <translation>Change password</translation>
    </message>
    <message>
        <source>Text.oldPassword</source>
        <translation>Current password:</translation>
    </message>
    <message>
        <source>Text.password</source>
        <translation>New password:</translation>
    </message>
    <message>
        <source>Text.passwordRepeat</source>
        <translation>Repeat new password:</translation>
    </message>
    <message>
        <source>Text.error</source>
        <translation>Error</translation>
    </message>
</context>
<context>
    <name>DialogLogin</name>
    <message>
        <source>Text.error</source>
        <translation>Error</translation>
    </message>
    <message>
        <source>Title.application</source>
        <translation>Quelmar</translation>
    </message>
    <message>
        <source>Text.username</source>
        <translation>User name</translation>
    </message>
    <message>
        <source>Text.password</source>
        <translation>Password</translation>
    </message>
    <message>
        <source>Text.login</source>
        <translation>Log in</translation>
    </message>
</context>
<context>
    <name>DialogManageDevices</name>
    <message>
        <source>Text.disableDevice</source>
        <translation>Disable device</translation>
    </message>
    <message>
        <source>Text.enableDevice</source>
        <translation>Enable device</translation>
    </message>
    <message>
        <source>Text.titleDisconnect</source>
        <translation>Unlink device</translation>
    </message>
    <message>
        <source>Text.confirmDisconnect</source>
        <translation>Unlink the remote device from this patient?</translation>
    </message>
    <message>
        <source>Text.manageDevices</source>
        <translation>Remote device</translation>
    </message>
    <message>
        <source>Text.connect</source>
        <translation>Link device</translation>
    </message>
    <message>
        <source>Text.disconnect</source>
        <translation>Unlink device</translation>
    </message>
    <message>
        <source>Text.deviceNotConnected</source>
        <translation>No device was found. Connect it to a USB port and try again.</translation>
    </message>
</context>
<context>
    <name>DialogPlayer</name>
    <message>
        <source>Title.player</source>
        <translation>Playback</translation>
    </message>
    <message>
        <source>Text.play</source>
        <translation>Play</translation>
    </message>
    <message>
        <source>Text.pause</source>
        <translation>Pause</translation>
    </message>
    <message>
        <source>Text.stop</source>
        <translation>Stop</translation>
    </message>
</context>
<context>
    <name>FormPatient</name>
    <message>
        <source>Text.cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Text.day</source>
        <translation>Day</translation>
    </message>
    <message>
        <source>Text.year</source>
        <translation>Year</translation>
    </message>
    <message>
        <source>Text.male</source>
        <translation>Male</translation>
    </message>
    <message>
        <source>Text.female</source>
        <translation>Female</translation>
    </message>
    <message>
        <source>Dialog.createPatient</source>
        <translation>New patient</translation>
    </message>
    <message>
        <source>Dialog.editPatient</source>
        <translation>Edit patient</translation>
    </message>
    <message>
        <source>Form.notes</source>
        <translation>Notes:</translation>
    </message>
    <message>
        <source>Form.name</source>
        <translation>Full name</translation>
    </message>
    <message>
        <source>Form.patientAgreement</source>
        <translation>The patient has agreed to the processing of personal data</translation>
    </message>
    <message>
        <source>Form.phone</source>
        <translation>Phone</translation>
    </message>
    <message>
        <source>Text.name</source>
        <translation>Patient’s name</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>Text.month</source>
        <translation>Month</translation>
    </message>
</context>
<context>
    <name>LoadingWindow</name>
    <message>
        <source>Text.requestInProgress</source>
        <translation>Please wait…</translation>
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
        <translation>Quit</translation>
    </message>
    <message>
        <source>Text.closeMessage</source>
        <translation>Do you want to quit Quelmar?</translation>
    </message>
    <message>
        <source>Text.upToDate</source>
        <translation>You are using the latest version of Quelmar.</translation>
    </message>
    <message>
        <source>Text.updatesAvailable</source>
        <translation>A newer version of Quelmar is available.</translation>
    </message>
    <message>
        <source>Text.updatesTitle</source>
        <translation>Updates</translation>
    </message>
    <message>
        <source>Text.impactFinished</source>
        <translation>The impact signal has been played to the end.</translation>
    </message>
    <message>
        <source>Text.changeLocaleSuccess</source>
        <translation>The language has been changed. Screens that are already open stay in the previous language until they are opened again.</translation>
    </message>
    <message>
        <source>Dialog.successChangePassword</source>
        <translation>Your password has been changed.</translation>
    </message>
    <message>
        <source>Menu.password</source>
        <translation>Change password…</translation>
    </message>
    <message>
        <source>Menu.updates</source>
        <translation>Check for updates</translation>
    </message>
    <message>
        <source>Menu.about</source>
        <translation>About Quelmar</translation>
    </message>
    <message>
        <source>Menu.application</source>
        <translation>Program</translation>
    </message>
    <message>
        <source>Menu.language</source>
        <translation>Language</translation>
    </message>
</context>
<context>
    <name>PatientManager</name>
    <message>
        <source>Text.invalidName</source>
        <translation>Please enter the patient’s name.</translation>
    </message>
    <message>
        <source>Text.invalidBirthDate</source>
        <translation>Please enter a valid date of birth.</translation>
    </message>
</context>
<context>
    <name>PatientModel</name>
    <message>
        <source>Text.deviceNotConnected</source>
        <translation>No remote device is linked</translation>
    </message>
    <message>
        <source>Text.name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Text.noCommands</source>
        <translation>Remote device linked, no command</translation>
    </message>
    <message>
        <source>Text.recordInProgress</source>
        <translation>Remote recording in progress</translation>
    </message>
    <message>
        <source>Text.recordComplete</source>
        <translation>Remote recording complete</translation>
    </message>
    <message>
        <source>Text.recipeInProgress</source>
        <translation>Recipe running on the remote device</translation>
    </message>
    <message>
        <source>Text.recipeComplete</source>
        <translation>Recipe complete</translation>
    </message>
    <message>
        <source>Text.age</source>
        <translation>Age</translation>
    </message>
    <message>
        <source>Text.gender</source>
        <translation>Gender</translation>
    </message>
    <message>
        <source>Text.lastRecordDate</source>
        <translation>Last record</translation>
    </message>
    <message>
        <source>Text.phone</source>
        <translation>Phone</translation>
    </message>
    <message>
        <source>Text.notes</source>
        <translation>Notes</translation>
    </message>
</context>
<context>
    <name>QAbstractSpinBox</name>
    <message>
        <source>&amp;Select All</source>
        <translation>Select &amp;All</translation>
    </message>
    <message>
        <source>&amp;Step up</source>
        <translation>&amp;Step up</translation>
    </message>
    <message>
        <source>Step &amp;down</source>
        <translation>Step &amp;down</translation>
    </message>
</context>
<context>
    <name>QDialog</name>
    <message>
        <source>What&apos;s This?</source>
        <translation>What&apos;s This?</translation>
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
        <translation>Look in:</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Back</translation>
    </message>
    <message>
        <source>Go back</source>
        <translation>Go back</translation>
    </message>
    <message>
        <source>Forward</source>
        <translation>Forward</translation>
    </message>
    <message>
        <source>Go forward</source>
        <translation>Go forward</translation>
    </message>
    <message>
        <source>Parent Directory</source>
        <translation>Parent Directory</translation>
    </message>
    <message>
        <source>Go to the parent directory</source>
        <translation>Go to the parent directory</translation>
    </message>
    <message>
        <source>Create New Folder</source>
        <translation>Create New Folder</translation>
    </message>
    <message>
        <source>Create a New Folder</source>
        <translation>Create a New Folder</translation>
    </message>
    <message>
        <source>List View</source>
        <translation>List View</translation>
    </message>
    <message>
        <source>Change to list view mode</source>
        <translation>Change to list view mode</translation>
    </message>
    <message>
        <source>Detail View</source>
        <translation>Detail View</translation>
    </message>
    <message>
        <source>Change to detail view mode</source>
        <translation>Change to detail view mode</translation>
    </message>
    <message>
        <source>Sidebar</source>
        <translation>Sidebar</translation>
    </message>
    <message>
        <source>List of places and bookmarks</source>
        <translation>List of places and bookmarks</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Files</translation>
    </message>
    <message>
        <source>File &amp;name:</source>
        <translation>File &amp;name:</translation>
    </message>
    <message>
        <source>Directory:</source>
        <translation>Directory:</translation>
    </message>
    <message>
        <source>Files of type:</source>
        <translation>Files of type:</translation>
    </message>
    <message>
        <source>All Files (*)</source>
        <translation>All Files (*)</translation>
    </message>
    <message>
        <source>All files (*)</source>
        <translation>All files (*)</translation>
    </message>
    <message>
        <source>Directories</source>
        <translation>Directories</translation>
    </message>
    <message>
        <source>&amp;Open</source>
        <translation>&amp;Open</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>&amp;Save</source>
        <translation>&amp;Save</translation>
    </message>
    <message>
        <source>Save As</source>
        <translation>Save As</translation>
    </message>
    <message>
        <source>&amp;Choose</source>
        <translation>&amp;Choose</translation>
    </message>
    <message>
        <source>Find Directory</source>
        <translation>Find Directory</translation>
    </message>
    <message>
        <source>&amp;Rename</source>
        <translation>&amp;Rename</translation>
    </message>
    <message>
        <source>&amp;Delete</source>
        <translation>&amp;Delete</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>Show &amp;hidden files</source>
        <translation>Show &amp;hidden files</translation>
    </message>
    <message>
        <source>&amp;New Folder</source>
        <translation>&amp;New Folder</translation>
    </message>
    <message>
        <source>New Folder</source>
        <translation>New Folder</translation>
    </message>
    <message>
        <source>Show </source>
        <translation>Show </translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Remove</translation>
    </message>
    <message>
        <source>My Computer</source>
        <translation>My Computer</translation>
    </message>
    <message>
        <source>Recent Places</source>
        <translation>Recent Places</translation>
    </message>
    <message>
        <source>Drive</source>
        <translation>Drive</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Folder</translation>
    </message>
    <message>
        <source>File Folder</source>
        <translation>File Folder</translation>
    </message>
    <message>
        <source>File</source>
        <translation>File</translation>
    </message>
    <message>
        <source>%1 File</source>
        <translation>%1 File</translation>
    </message>
    <message>
        <source>Alias</source>
        <translation>Alias</translation>
    </message>
    <message>
        <source>Shortcut</source>
        <translation>Shortcut</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Unknown</translation>
    </message>
    <message>
        <source>%1 already exists.
Do you want to replace it?</source>
        <translation>%1 already exists.
Do you want to replace it?</translation>
    </message>
    <message>
        <source>%1
File not found.
Please verify the correct file name was given.</source>
        <translation>%1
File not found.
Please verify the correct file name was given.</translation>
    </message>
    <message>
        <source>%1
Directory not found.
Please verify the correct directory name was given.</source>
        <translation>%1
Directory not found.
Please verify the correct directory name was given.</translation>
    </message>
    <message>
        <source>&apos;%1&apos; is write protected.
Do you want to delete it anyway?</source>
        <translation>&apos;%1&apos; is write protected.
Do you want to delete it anyway?</translation>
    </message>
    <message>
        <source>Are you sure you want to delete &apos;%1&apos;?</source>
        <translation>Are you sure you want to delete &apos;%1&apos;?</translation>
    </message>
    <message>
        <source>Could not delete directory.</source>
        <translation>Could not delete directory.</translation>
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
        <translation>Size</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Type</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Kind</translation>
    </message>
    <message>
        <source>Date Modified</source>
        <translation>Date Modified</translation>
    </message>
    <message>
        <source>Computer</source>
        <translation>Computer</translation>
    </message>
    <message>
        <source>My Computer</source>
        <translation>My Computer</translation>
    </message>
    <message>
        <source>Invalid filename</source>
        <translation>Invalid filename</translation>
    </message>
    <message>
        <source>&lt;b&gt;The name &quot;%1&quot; cannot be used.&lt;/b&gt;&lt;p&gt;Try using another name, with fewer characters or no punctuation marks.</source>
        <translation>&lt;b&gt;The name &quot;%1&quot; cannot be used.&lt;/b&gt;&lt;p&gt;Try using another name, with fewer characters or no punctuation marks.</translation>
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
        <translation>&amp;Save</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Cancel</translation>
    </message>
    <message>
        <source>&amp;Close</source>
        <translation>&amp;Close</translation>
    </message>
    <message>
        <source>Close without Saving</source>
        <translation>Close without Saving</translation>
    </message>
</context>
<context>
    <name>QInputDialog</name>
    <message>
        <source>Enter a value:</source>
        <translation>Enter a value:</translation>
    </message>
</context>
<context>
    <name>QLineEdit</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Undo</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Redo</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>Cu&amp;t</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Copy</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>&amp;Paste</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Select All</translation>
    </message>
</context>
<context>
    <name>QMessageBox</name>
    <message>
        <source>Show Details...</source>
        <translation>Show Details...</translation>
    </message>
    <message>
        <source>Hide Details...</source>
        <translation>Hide Details...</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Text.error</source>
        <translation>Error</translation>
    </message>
    <message>
        <source>Text.success</source>
        <translation>Done</translation>
    </message>
    <message>
        <source>Dialog.deletePatient</source>
        <translation>Delete patient</translation>
    </message>
    <message>
        <source>Dialog.confirmDeletePatient</source>
        <translation>Delete the patient “%1”? This cannot be undone.</translation>
    </message>
    <message>
        <source>Dialog.deleteRecord</source>
        <translation>Delete record</translation>
    </message>
    <message>
        <source>Dialog.confirmDeleteRecord</source>
        <translation>Delete the record of %1? This cannot be undone.</translation>
    </message>
    <message>
        <source>Text.yes</source>
        <translation>Yes</translation>
    </message>
    <message>
        <source>Text.no</source>
        <translation>No</translation>
    </message>
    <message>
        <source>Text.January</source>
        <translation>January</translation>
    </message>
    <message>
        <source>Text.February</source>
        <translation>February</translation>
    </message>
    <message>
        <source>Text.March</source>
        <translation>March</translation>
    </message>
    <message>
        <source>Text.April</source>
        <translation>April</translation>
    </message>
    <message>
        <source>Text.May</source>
        <translation>May</translation>
    </message>
    <message>
        <source>Text.June</source>
        <translation>June</translation>
    </message>
    <message>
        <source>Text.July</source>
        <translation>July</translation>
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
        <translation>October</translation>
    </message>
    <message>
        <source>Text.November</source>
        <translation>November</translation>
    </message>
    <message>
        <source>Text.December</source>
        <translation>December</translation>
    </message>
</context>
<context>
    <name>QPagination</name>
    <message>
        <source>Text.previousPage</source>
        <translation>Previous page</translation>
    </message>
    <message>
        <source>Text.nextPage</source>
        <translation>Next page</translation>
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
        <translation>Save</translation>
    </message>
    <message>
        <source>Save All</source>
        <translation>Save All</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>&amp;Yes</source>
        <translation>&amp;Yes</translation>
    </message>
    <message>
        <source>Yes to &amp;All</source>
        <translation>Yes to &amp;All</translation>
    </message>
    <message>
        <source>&amp;No</source>
        <translation>&amp;No</translation>
    </message>
    <message>
        <source>N&amp;o to All</source>
        <translation>N&amp;o to All</translation>
    </message>
    <message>
        <source>Abort</source>
        <translation>Abort</translation>
    </message>
    <message>
        <source>Retry</source>
        <translation>Retry</translation>
    </message>
    <message>
        <source>Ignore</source>
        <translation>Ignore</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Close</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Discard</source>
        <translation>Discard</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Help</translation>
    </message>
    <message>
        <source>Apply</source>
        <translation>Apply</translation>
    </message>
    <message>
        <source>Reset</source>
        <translation>Reset</translation>
    </message>
    <message>
        <source>Restore Defaults</source>
        <translation>Restore Defaults</translation>
    </message>
</context>
<context>
    <name>QScrollBar</name>
    <message>
        <source>Scroll here</source>
        <translation>Scroll here</translation>
    </message>
    <message>
        <source>Top</source>
        <translation>Top</translation>
    </message>
    <message>
        <source>Bottom</source>
        <translation>Bottom</translation>
    </message>
    <message>
        <source>Page up</source>
        <translation>Page up</translation>
    </message>
    <message>
        <source>Page down</source>
        <translation>Page down</translation>
    </message>
    <message>
        <source>Scroll up</source>
        <translation>Scroll up</translation>
    </message>
    <message>
        <source>Scroll down</source>
        <translation>Scroll down</translation>
    </message>
    <message>
        <source>Left edge</source>
        <translation>Left edge</translation>
    </message>
    <message>
        <source>Right edge</source>
        <translation>Right edge</translation>
    </message>
    <message>
        <source>Page left</source>
        <translation>Page left</translation>
    </message>
    <message>
        <source>Page right</source>
        <translation>Page right</translation>
    </message>
    <message>
        <source>Scroll left</source>
        <translation>Scroll left</translation>
    </message>
    <message>
        <source>Scroll right</source>
        <translation>Scroll right</translation>
    </message>
</context>
<context>
    <name>QStandardPaths</name>
    <message>
        <source>Documents</source>
        <translation>Documents</translation>
    </message>
</context>
<context>
    <name>QTabBar</name>
    <message>
        <source>Scroll Left</source>
        <translation>Scroll Left</translation>
    </message>
    <message>
        <source>Scroll Right</source>
        <translation>Scroll Right</translation>
    </message>
</context>
<context>
    <name>QWidgetTextControl</name>
    <message>
        <source>&amp;Undo</source>
        <translation>&amp;Undo</translation>
    </message>
    <message>
        <source>&amp;Redo</source>
        <translation>&amp;Redo</translation>
    </message>
    <message>
        <source>Cu&amp;t</source>
        <translation>Cu&amp;t</translation>
    </message>
    <message>
        <source>&amp;Copy</source>
        <translation>&amp;Copy</translation>
    </message>
    <message>
        <source>&amp;Paste</source>
        <translation>&amp;Paste</translation>
    </message>
    <message>
        <source>Copy &amp;Link Location</source>
        <translation>Copy &amp;Link Location</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message>
        <source>Select All</source>
        <translation>Select All</translation>
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
        <translation>Match, %</translation>
    </message>
    <message>
        <source>Text.amountFrequencies</source>
        <translation>Number of frequencies</translation>
    </message>
</context>
<context>
    <name>RecordModel</name>
    <message>
        <source>Text.yes</source>
        <translation>Yes</translation>
    </message>
    <message>
        <source>Text.no</source>
        <translation>No</translation>
    </message>
    <message>
        <source>Text.recordedAt</source>
        <translation>Recorded at</translation>
    </message>
    <message>
        <source>Text.doctorName</source>
        <translation>Practitioner</translation>
    </message>
    <message>
        <source>Text.questionnaire</source>
        <translation>Questionnaire</translation>
    </message>
    <message>
        <source>Text.allRecords</source>
        <translation>All records</translation>
    </message>
</context>
<context>
    <name>SummaryTableModel</name>
    <message>
        <source>Text.category</source>
        <translation>Category</translation>
    </message>
</context>
<context>
    <name>SymptomDelegate</name>
    <message>
        <source>Complaint.none</source>
        <translation>None</translation>
    </message>
    <message>
        <source>Complaint.periodic</source>
        <translation>Periodic</translation>
    </message>
    <message>
        <source>Complaint.moderate</source>
        <translation>Moderate</translation>
    </message>
    <message>
        <source>Complaint.expressed</source>
        <translation>Pronounced</translation>
    </message>
</context>
<context>
    <name>SymptomModel</name>
    <message>
        <source>Complaint.none</source>
        <translation>None</translation>
    </message>
    <message>
        <source>Complaint.periodic</source>
        <translation>Periodic</translation>
    </message>
    <message>
        <source>Complaint.moderate</source>
        <translation>Moderate</translation>
    </message>
    <message>
        <source>Complaint.expressed</source>
        <translation>Pronounced</translation>
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
        <translation>Number of complaints</translation>
    </message>
    <message>
        <source>Text.severity</source>
        <translation>Severity</translation>
    </message>
</context>
<context>
    <name>ViewAnalysis</name>
    <message>
        <source>Text.tabSummaryTable</source>
        <translation>Summary</translation>
    </message>
    <message>
        <source>Text.analyse</source>
        <translation>Analyze</translation>
    </message>
    <message>
        <source>Text.tabMarkersAnalysis</source>
        <translation>Marker analysis</translation>
    </message>
    <message>
        <source>Title.analysis</source>
        <translation>Analysis</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>List of patients</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patient card: %1</translation>
    </message>
    <message>
        <source>Text.category</source>
        <translation>Category</translation>
    </message>
    <message>
        <source>Text.storage</source>
        <translation>Marker set</translation>
    </message>
</context>
<context>
    <name>ViewComparativeAnalysis</name>
    <message>
        <source>Title.comparativeAnalysis</source>
        <translation>Comparative analysis</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>List of patients</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patient card: %1</translation>
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
        <translation>Save</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>List of patients</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patient card: %1</translation>
    </message>
    <message>
        <source>Text.sensor</source>
        <translation>Play through the sensor</translation>
    </message>
    <message>
        <source>Text.download</source>
        <translation>Save as a WAV file</translation>
    </message>
    <message>
        <source>Text.box</source>
        <translation>Send to the remote device</translation>
    </message>
    <message>
        <source>Text.recipeCommand</source>
        <translation>Recipe</translation>
    </message>
    <message>
        <source>Text.selfRecipeCommand</source>
        <translation>Self-run recipe</translation>
    </message>
    <message>
        <source>Text.recipe</source>
        <translation>Recipe: %1, record of %2</translation>
    </message>
    <message>
        <source>Text.totalMarkers</source>
        <translation>Frequencies in total: %1</translation>
    </message>
    <message>
        <source>Text.durationInMinutes</source>
        <translation>Duration:</translation>
    </message>
    <message>
        <source>Text.start</source>
        <translation>Start</translation>
    </message>
    <message>
        <source>Text.durationPerMarker</source>
        <translation>Duration per marker:</translation>
    </message>
    <message>
        <source>Text.totalTime</source>
        <translation>Total time: %1 min</translation>
    </message>
    <message>
        <source>Text.errorWavSave</source>
        <translation>The WAV file could not be saved. Check the folder and try again.</translation>
    </message>
    <message>
        <source>Text.addToRecipe</source>
        <translation>Add markers</translation>
    </message>
    <message>
        <source>Text.recipeCommandSuccess</source>
        <translation>The recipe has been sent to the remote device.</translation>
    </message>
    <message>
        <source>Title.recipe</source>
        <translation>Recipe</translation>
    </message>
    <message>
        <source>Text.saveFile</source>
        <translation>Save the impact signal</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>A remote device is linked to this patient</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Save changes</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>The recipe has been changed. Save the changes?</translation>
    </message>
    <message>
        <source>Text.target</source>
        <translation>Target</translation>
    </message>
    <message>
        <source>Text.command</source>
        <translation>Command</translation>
    </message>
</context>
<context>
    <name>ViewPatient</name>
    <message>
        <source>Text.autospectrum</source>
        <translation>Autospectrum</translation>
    </message>
    <message>
        <source>Form.phone</source>
        <translation>Phone:</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>List of patients</translation>
    </message>
    <message>
        <source>Text.saveFile</source>
        <translation>Save the Excel file</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>A remote device is linked to this patient</translation>
    </message>
    <message>
        <source>Text.deleteCommandTitle</source>
        <translation>Delete command</translation>
    </message>
    <message>
        <source>Text.deleteCommandMessage</source>
        <translation>Delete the command sent to the remote device?</translation>
    </message>
    <message>
        <source>Text.errorSaveFile</source>
        <translation>The file could not be saved. Check the folder and try again.</translation>
    </message>
    <message>
        <source>Text.edit</source>
        <translation>Edit patient</translation>
    </message>
    <message>
        <source>Text.newRecord</source>
        <translation>New record</translation>
    </message>
    <message>
        <source>Text.analysis</source>
        <translation>Analysis</translation>
    </message>
    <message>
        <source>Text.comparativeAnalysis</source>
        <translation>Comparative analysis</translation>
    </message>
    <message>
        <source>Text.recoveryHistory</source>
        <translation>Recovery history</translation>
    </message>
    <message>
        <source>Text.excelExport</source>
        <translation>Export to Excel</translation>
    </message>
    <message>
        <source>Text.deletePatient</source>
        <translation>Delete patient</translation>
    </message>
    <message>
        <source>Text.deleteCommand</source>
        <translation>Delete the remote device’s command</translation>
    </message>
    <message>
        <source>Text.manageDevice</source>
        <translation>Manage the remote device</translation>
    </message>
    <message>
        <source>Text.deviceConnectSuccess</source>
        <translation>The remote device has been linked to the patient.</translation>
    </message>
    <message>
        <source>Text.deviceDisconnectSuccess</source>
        <translation>The remote device has been unlinked from the patient.</translation>
    </message>
    <message>
        <source>Text.deviceStatusChangeSuccess</source>
        <translation>The state of the remote device has been changed.</translation>
    </message>
    <message>
        <source>Text.deleteCommandSuccess</source>
        <translation>The command has been deleted.</translation>
    </message>
    <message>
        <source>Text.commandSuccess</source>
        <translation>The command has been sent to the remote device.</translation>
    </message>
    <message>
        <source>Title.patientView</source>
        <translation>Patient card</translation>
    </message>
    <message>
        <source>Title.patientViewTable</source>
        <translation>Records</translation>
    </message>
    <message>
        <source>Form.age</source>
        <translation>Age:</translation>
    </message>
    <message>
        <source>Form.gender</source>
        <translation>Gender:</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Refresh</translation>
    </message>
    <message>
        <source>Text.receipt</source>
        <translation>Recipe</translation>
    </message>
</context>
<context>
    <name>ViewPatients</name>
    <message>
        <source>Text.name</source>
        <translation>By name</translation>
    </message>
    <message>
        <source>Text.notes</source>
        <translation>By notes</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Refresh</translation>
    </message>
    <message>
        <source>Text.listPatients</source>
        <translation>List of patients</translation>
    </message>
    <message>
        <source>Text.patientSearch</source>
        <translation>Search for a patient</translation>
    </message>
    <message>
        <source>Text.newPatient</source>
        <translation>New patient</translation>
    </message>
    <message>
        <source>Title.patients</source>
        <translation>Patients</translation>
    </message>
    <message>
        <source>Text.searchIn</source>
        <translation>Search in</translation>
    </message>
</context>
<context>
    <name>ViewReceipt</name>
    <message>
        <source>Text.listOfPatients</source>
        <translation>List of patients</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patient card: %1</translation>
    </message>
    <message>
        <source>Text.deviceConnected</source>
        <translation>A remote device is linked to this patient</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Save changes</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>The recipe has been changed. Save the changes?</translation>
    </message>
    <message>
        <source>Text.receipt</source>
        <translation>Go to recipe</translation>
    </message>
    <message>
        <source>Text.createRecipe</source>
        <translation>Compose a recipe: %1, record of %2</translation>
    </message>
    <message>
        <source>Text.load</source>
        <translation>Load</translation>
    </message>
    <message>
        <source>Text.category</source>
        <translation>Category</translation>
    </message>
    <message>
        <source>Text.storage</source>
        <translation>Marker set</translation>
    </message>
</context>
<context>
    <name>ViewRecoveryHistory</name>
    <message>
        <source>Text.cancel</source>
        <translation>Cancel</translation>
    </message>
    <message>
        <source>Text.save</source>
        <translation>Save</translation>
    </message>
    <message>
        <source>Text.listOfPatients</source>
        <translation>List of patients</translation>
    </message>
    <message>
        <source>Text.patientCard</source>
        <translation>Patient card: %1</translation>
    </message>
    <message>
        <source>Text.saving</source>
        <translation>Save changes</translation>
    </message>
    <message>
        <source>Text.confirmSave</source>
        <translation>The questionnaire has been changed. Save the changes?</translation>
    </message>
    <message>
        <source>Text.refresh</source>
        <translation>Refresh</translation>
    </message>
    <message>
        <source>Text.newSymptom</source>
        <translation>New symptom</translation>
    </message>
    <message>
        <source>Text.removeSymptom</source>
        <translation>Remove symptom</translation>
    </message>
    <message>
        <source>Text.symptomName</source>
        <translation>Name of the symptom:</translation>
    </message>
    <message>
        <source>Title.historyOfRecovery</source>
        <translation>Recovery history</translation>
    </message>
</context>
</TS>
