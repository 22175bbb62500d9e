<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Messages</name>
    <message>
        <source>Microphone access is required. Enable it in System Settings → Privacy &amp; Security → Microphone.</source>
        <translation>Der Zugriff auf das Mikrofon ist erforderlich. Erlauben Sie ihn in Systemeinstellungen → Datenschutz &amp; Sicherheit → Mikrofon.</translation>
    </message>
    <message>
        <source>No microphone available.</source>
        <translation>Kein Mikrofon verfügbar.</translation>
    </message>
    <message>
        <source>Microphone input failed: </source>
        <translation>Fehler am Mikrofoneingang: </translation>
    </message>
    <message>
        <source>Could not add microphone input.</source>
        <translation>Der Mikrofoneingang konnte nicht hinzugefügt werden.</translation>
    </message>
    <message>
        <source>Could not add microphone output.</source>
        <translation>Die Ausgabe des Mikrofons konnte nicht hinzugefügt werden.</translation>
    </message>
    <message>
        <source>Could not get shareable content: </source>
        <translation>Die aufnehmbaren Inhalte konnten nicht ermittelt werden: </translation>
    </message>
    <message>
        <source>No shareable content returned.</source>
        <translation>Es wurden keine aufnehmbaren Inhalte gefunden.</translation>
    </message>
    <message>
        <source>No display available for system audio capture.</source>
        <translation>Kein Bildschirm für die Aufnahme des Systemtons verfügbar.</translation>
    </message>
    <message>
        <source>Failed to add stream output: </source>
        <translation>Die Tonausgabe konnte nicht hinzugefügt werden: </translation>
    </message>
    <message>
        <source>Stream start failed: </source>
        <translation>Die Tonaufnahme konnte nicht gestartet werden: </translation>
    </message>
    <message>
        <source>Failed to setup audio writer.</source>
        <translation>Die Aufnahmedatei konnte nicht eingerichtet werden.</translation>
    </message>
    <message>
        <source>The recording ended because its file has reached the largest size that its folder allows.</source>
        <translation>Die Aufnahme wurde beendet, weil ihre Datei so groß ist, wie es ihr Ordner zulässt.</translation>
    </message>
    <message>
        <source>Could not create Recordings folder: </source>
        <translation>Der Aufnahmeordner konnte nicht angelegt werden: </translation>
    </message>
    <message>
        <source>Not enough disk space to record. Free some space and try again.</source>
        <translation>Nicht genügend Speicherplatz für eine Aufnahme. Schaffen Sie Platz und versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>Recordings folder is not available.</source>
        <translation>Der Aufnahmeordner ist nicht verfügbar.</translation>
    </message>
    <message>
        <source>Recordings path exists but is not a directory.</source>
        <translation>Am Ort des Aufnahmeordners liegt etwas, das kein Ordner ist.</translation>
    </message>
    <message>
        <source>Not Enough Space</source>
        <translation>Zu wenig Speicherplatz</translation>
    </message>
    <message>
        <source>There isn’t enough free disk space to save the recording. Free some space and try again.</source>
        <translation>Der freie Speicherplatz reicht nicht aus, um die Aufnahme zu speichern. Schaffen Sie Platz und versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>Permission Required</source>
        <translation>Erlaubnis erforderlich</translation>
    </message>
    <message>
        <source>Screen capture and microphone access are required to record. Please allow access in System Settings → Privacy &amp; Security.</source>
        <translation>Für Aufnahmen ist der Zugriff auf Bildschirmaufnahme und Mikrofon erforderlich. Bitte erlauben Sie ihn in Systemeinstellungen → Datenschutz &amp; Sicherheit.</translation>
    </message>
    <message>
        <source>Notes Access Not Allowed</source>
        <translation>Kein Zugriff auf Notizen</translation>
    </message>
    <message>
        <source>Please allow access in System Settings → Privacy &amp; Security → Automation → enable Notes for this app.</source>
        <translation>Bitte erlauben Sie den Zugriff in Systemeinstellungen → Datenschutz &amp; Sicherheit → Automation und schalten Sie dort Notizen für diese App ein.</translation>
    </message>
    <message>
        <source>Could Not Create Note</source>
        <translation>Keine Notiz angelegt</translation>
    </message>
    <message>
        <source>The recording was saved, but a note in Apple Notes could not be created. You can open the recordings folder from the menu.</source>
        <translation>Die Aufnahme wurde gespeichert, aber in Apple Notizen konnte keine Notiz angelegt werden. Den Aufnahmeordner können Sie über das Menü öffnen.</translation>
    </message>
    <message>
        <source>Requires macOS 26.0+</source>
        <translation>Erfordert macOS 26.0 oder neuer</translation>
    </message>
    <message>
        <source>there is no output to record</source>
        <translation>es gibt keinen Ausgang, der aufgenommen werden kann</translation>
    </message>
    <message>
        <source>there is no microphone named &quot;</source>
        <translation>es gibt kein Mikrofon namens &quot;</translation>
    </message>
    <message>
        <source>the sound server does not answer</source>
        <translation>der Soundserver antwortet nicht</translation>
    </message>
    <message>
        <source>the sound server denies access (</source>
        <translation>der Soundserver verweigert den Zugriff (</translation>
    </message>
    <message>
        <source>the sound server cannot be reached (</source>
        <translation>der Soundserver ist nicht erreichbar (</translation>
    </message>
    <message>
        <source>the sound server reports &quot;</source>
        <translation>der Soundserver meldet &quot;</translation>
    </message>
</context>
<context>
    <name>Placeholders</name>
    <message>
        <source>Meeting title (detected or manual)</source>
        <translation>Titel der Besprechung (erkannt oder eingegeben)</translation>
    </message>
    <message>
        <source>Formatted date</source>
        <translation>Formatiertes Datum</translation>
    </message>
    <message>
        <source>Recording duration</source>
        <translation>Dauer der Aufnahme</translation>
    </message>
    <message>
        <source>Speaker list from diarization</source>
        <translation>Liste der Sprecher aus der Sprechererkennung</translation>
    </message>
    <message>
        <source>AI-generated 3-5 sentence summary</source>
        <translation>Von KI erstellte Zusammenfassung in 3 bis 5 Sätzen</translation>
    </message>
    <message>
        <source>Bulleted list of decisions</source>
        <translation>Aufzählung der Beschlüsse</translation>
    </message>
    <message>
        <source>Bulleted list with owners</source>
        <translation>Aufzählung mit Zuständigen</translation>
    </message>
    <message>
        <source>Questions needing answers</source>
        <translation>Offene Fragen</translation>
    </message>
    <message>
        <source>Full transcript with speaker labels</source>
        <translation>Vollständiges Transkript mit Sprecherangaben</translation>
    </message>
    <message>
        <source>First 500 words of transcript</source>
        <translation>Die ersten 500 Wörter des Transkripts</translation>
    </message>
</context>
<context>
    <name>quillet::AiSection</name>
    <message>
        <source>AI &amp; Privacy</source>
        <translation>KI &amp; Datenschutz</translation>
    </message>
    <message>
        <source>Transcription</source>
        <translation>Transkription</translation>
    </message>
    <message>
        <source>On-device with WhisperKit</source>
        <translation>Auf dem Gerät mit WhisperKit</translation>
    </message>
    <message>
        <source>Speech-to-text runs entirely on your Mac. Your audio never leaves your device.</source>
        <translation>Sprache wird vollständig auf Ihrem Mac in Text umgewandelt. Ihre Aufnahmen verlassen Ihr Gerät nicht.</translation>
    </message>
    <message>
        <source>Always local — no internet required</source>
        <translation>Immer lokal – ohne Internet</translation>
    </message>
    <message>
        <source>Meeting Summaries</source>
        <translation>Zusammenfassungen</translation>
    </message>
    <message>
        <source>Choose how Quillet generates your structured meeting notes from the transcript.</source>
        <translation>Legen Sie fest, wie Quillet aus dem Transkript gegliederte Besprechungsnotizen erstellt.</translation>
    </message>
    <message>
        <source>On-device AI (Apple Intelligence)</source>
        <translation>KI auf dem Gerät (Apple Intelligence)</translation>
    </message>
    <message>
        <source>Summaries are generated locally. Nothing leaves your Mac.</source>
        <translation>Zusammengefasst wird lokal. Nichts verlässt Ihren Mac.</translation>
    </message>
    <message>
        <source>Until on-device AI becomes available, your transcript text is sent to %1, a cloud service.</source>
        <translation>Solange KI auf dem Gerät nicht verfügbar ist, wird der Text Ihres Transkripts an den Cloud-Dienst %1 gesendet.</translation>
    </message>
    <message>
        <source>Summaries will automatically use Gemini EU as fallback until on-device AI becomes available.</source>
        <translation>Solange KI auf dem Gerät nicht verfügbar ist, wird für Zusammenfassungen automatisch Gemini EU verwendet.</translation>
    </message>
    <message>
        <source>Summaries are made on this computer by %1 at %2.</source>
        <translation>Zusammenfassungen erstellt %1 (%2) auf diesem Computer.</translation>
    </message>
    <message>
        <source>Apple Intelligence is available</source>
        <translation>Apple Intelligence ist verfügbar</translation>
    </message>
    <message>
        <source>Using %1 — your transcript text is sent to this cloud service.</source>
        <translation>%1 wird verwendet – der Text Ihres Transkripts wird an diesen Cloud-Dienst gesendet.</translation>
    </message>
    <message>
        <source>Using Gemini EU — your transcript text is sent to Google&apos;s EU servers. Data stays in the EU.</source>
        <translation>Gemini EU wird verwendet – der Text Ihres Transkripts wird an Server von Google in der EU gesendet. Die Daten bleiben in der EU.</translation>
    </message>
</context>
<context>
    <name>quillet::AlertCard</name>
    <message>
        <source>Open System Settings</source>
        <translation>Systemeinstellungen öffnen</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>quillet::AppDelegate</name>
    <message>
        <source>Recording</source>
        <translation>Aufnahme läuft</translation>
    </message>
    <message>
        <source>Quillet</source>
        <translation>Quillet</translation>
    </message>
    <message>
        <source>Stop Recording</source>
        <translation>Aufnahme stoppen</translation>
    </message>
    <message>
        <source>Start Recording</source>
        <translation>Aufnahme starten</translation>
    </message>
    <message>
        <source>Settings…</source>
        <translation>Einstellungen …</translation>
    </message>
    <message>
        <source>Check for Updates...</source>
        <translation>Nach Updates suchen …</translation>
    </message>
    <message>
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message>
        <source>Quillet Settings</source>
        <translation>Quillet-Einstellungen</translation>
    </message>
    <message>
        <source>Welcome to Quillet</source>
        <translation>Willkommen bei Quillet</translation>
    </message>
    <message>
        <source>Menu</source>
        <translation>Menü</translation>
    </message>
</context>
<context>
    <name>quillet::EditTemplateSheet</name>
    <message>
        <source>Edit Template</source>
        <translation>Vorlage bearbeiten</translation>
    </message>
</context>
<context>
    <name>quillet::FolderChooser</name>
    <message>
        <source>Choose Notes Folder</source>
        <translation>Notizordner auswählen</translation>
    </message>
    <message>
        <source>Select the folder where meeting notes will be kept.</source>
        <translation>Wählen Sie den Ordner, in dem Besprechungsnotizen abgelegt werden.</translation>
    </message>
    <message>
        <source>Choose Recordings Folder</source>
        <translation>Aufnahmeordner auswählen</translation>
    </message>
    <message>
        <source>Select the folder where meeting recordings will be saved.</source>
        <translation>Wählen Sie den Ordner, in dem Aufnahmen von Besprechungen gespeichert werden.</translation>
    </message>
</context>
<context>
    <name>quillet::GeneralSection</name>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>Quit Quillet</source>
        <translation>Quillet beenden</translation>
    </message>
    <message>
        <source>Recording Location</source>
        <translation>Aufnahmeordner</translation>
    </message>
    <message>
        <source>This folder takes no files. Recordings go to the default folder instead.</source>
        <translation>In diesem Ordner lässt sich nichts speichern. Aufnahmen werden stattdessen im Standardordner abgelegt.</translation>
    </message>
    <message>
        <source>Change…</source>
        <translation>Ändern …</translation>
    </message>
    <message>
        <source>Use default</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>Sound</source>
        <translation>Ton</translation>
    </message>
    <message>
        <source>Computer sound</source>
        <translation>Ton des Computers</translation>
    </message>
    <message>
        <source>Microphone</source>
        <translation>Mikrofon</translation>
    </message>
    <message>
        <source>The sound devices cannot be listed: %1.</source>
        <translation>Die Audiogeräte lassen sich nicht auflisten: %1.</translation>
    </message>
    <message>
        <source>Follow the system</source>
        <translation>Systemvorgabe</translation>
    </message>
    <message>
        <source>%1 (not connected)</source>
        <translation>%1 (nicht angeschlossen)</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Programmstart</translation>
    </message>
    <message>
        <source>Launch at login</source>
        <translation>Beim Anmelden starten</translation>
    </message>
    <message>
        <source>The choice could not be stored. The previous one stays.</source>
        <translation>Die Auswahl konnte nicht gespeichert werden. Es bleibt bei der bisherigen.</translation>
    </message>
</context>
<context>
    <name>quillet::LinuxStatusItem</name>
    <message>
        <source>Show Quillet</source>
        <translation>Quillet anzeigen</translation>
    </message>
</context>
<context>
    <name>quillet::MenuView</name>
    <message>
        <source>This app runs in macOS&apos;s App Sandbox. To record meetings, allow access for:</source>
        <translation>Diese App läuft in der App-Sandbox von macOS. Erlauben Sie für Aufnahmen den Zugriff auf:</translation>
    </message>
    <message>
        <source>Screen Capture</source>
        <translation>Bildschirmaufnahme</translation>
    </message>
    <message>
        <source>Microphone</source>
        <translation>Mikrofon</translation>
    </message>
    <message>
        <source>Other side</source>
        <translation>Gegenseite</translation>
    </message>
    <message>
        <source>Record</source>
        <translation>Aufnehmen</translation>
    </message>
    <message>
        <source>Auto-create Note</source>
        <translation>Notiz automatisch anlegen</translation>
    </message>
    <message>
        <source>Open Recordings Folder</source>
        <translation>Aufnahmeordner öffnen</translation>
    </message>
    <message>
        <source>Latest</source>
        <translation>Zuletzt</translation>
    </message>
    <message>
        <source>Show Last Recording in Finder</source>
        <translation>Letzte Aufnahme im Finder zeigen</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stoppen</translation>
    </message>
</context>
<context>
    <name>quillet::NewFolderSheet</name>
    <message>
        <source>Create Notes Folder</source>
        <translation>Notizordner anlegen</translation>
    </message>
    <message>
        <source>Enter a name for the new Apple Notes folder where recordings will be saved.</source>
        <translation>Geben Sie einen Namen für den neuen Ordner in Apple Notizen ein, in dem Aufnahmen gespeichert werden.</translation>
    </message>
    <message>
        <source>Folder name</source>
        <translation>Name des Ordners</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Create</source>
        <translation>Anlegen</translation>
    </message>
    <message>
        <source>No folder can have this name: it is too long, contains a slash or begins with a dot.</source>
        <translation>So kann kein Ordner heißen: Der Name ist zu lang, enthält einen Schrägstrich oder beginnt mit einem Punkt.</translation>
    </message>
</context>
<context>
    <name>quillet::NewTemplateSheet</name>
    <message>
        <source>New Template</source>
        <translation>Neue Vorlage</translation>
    </message>
</context>
<context>
    <name>quillet::NotesGroup</name>
    <message>
        <source>Apple Notes</source>
        <translation>Apple Notizen</translation>
    </message>
    <message>
        <source>Keep notes in</source>
        <translation>Speicherort</translation>
    </message>
    <message>
        <source>Markdown files</source>
        <translation>Markdown-Dateien</translation>
    </message>
    <message>
        <source>Notes folder</source>
        <translation>Notizordner</translation>
    </message>
    <message>
        <source>Change…</source>
        <translation>Ändern …</translation>
    </message>
    <message>
        <source>Use default</source>
        <translation>Zurücksetzen</translation>
    </message>
    <message>
        <source>Automation permission required</source>
        <translation>Erlaubnis zur Automation erforderlich</translation>
    </message>
    <message>
        <source>Waiting for your answer</source>
        <translation>Wartet auf Ihre Antwort</translation>
    </message>
    <message>
        <source>Allow</source>
        <translation>Erlauben</translation>
    </message>
    <message>
        <source>The notes application did not give access. Is it running, and does it ask you there whether to allow Quillet? In Joplin, the Web Clipper service has to be switched on.</source>
        <translation>Das Notizprogramm hat den Zugriff nicht erlaubt. Läuft es, und fragt es Sie, ob Quillet zugreifen darf? In Joplin muss der Web-Clipper-Dienst eingeschaltet sein.</translation>
    </message>
    <message>
        <source>Quillet cannot write to the notes folder. Please choose another one.</source>
        <translation>Quillet kann nicht in den Notizordner schreiben. Bitte wählen Sie einen anderen.</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Loading folders</source>
        <translation>Ordner werden geladen</translation>
    </message>
    <message>
        <source>Refresh</source>
        <translation>Aktualisieren</translation>
    </message>
    <message>
        <source>Could not load Notes folders. Grant Automation permission for Notes and try Refresh again.</source>
        <translation>Die Ordner von Notizen konnten nicht geladen werden. Erlauben Sie die Automation von Notizen und versuchen Sie es mit „Aktualisieren“ noch einmal.</translation>
    </message>
    <message>
        <source>No folders yet</source>
        <translation>Noch keine Ordner</translation>
    </message>
    <message>
        <source>Create New Folder</source>
        <translation>Neuer Ordner</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Standard</translation>
    </message>
</context>
<context>
    <name>quillet::OnboardingPages</name>
    <message>
        <source>Welcome to Quillet</source>
        <translation>Willkommen bei Quillet</translation>
    </message>
    <message>
        <source>Your meetings, remembered privately.</source>
        <translation>Ihre Besprechungen, privat festgehalten.</translation>
    </message>
    <message>
        <source>Microphone Access</source>
        <translation>Zugriff auf das Mikrofon</translation>
    </message>
    <message>
        <source>Quillet needs your microphone to capture your voice during meetings. Your audio is processed entirely on your Mac.</source>
        <translation>Quillet braucht Ihr Mikrofon, um Ihre Stimme in Besprechungen aufzunehmen. Der Ton wird ausschließlich auf Ihrem Mac verarbeitet.</translation>
    </message>
    <message>
        <source>Microphone access granted</source>
        <translation>Mikrofon freigegeben</translation>
    </message>
    <message>
        <source>System Audio Capture</source>
        <translation>Aufnahme des Systemtons</translation>
    </message>
    <message>
        <source>To record audio from Zoom, Teams, Google Meet, and other apps, Quillet needs Screen Capture permission. This captures system audio — not your screen content.</source>
        <translation>Um den Ton von Zoom, Teams, Google Meet und anderen Apps aufzunehmen, braucht Quillet die Erlaubnis zur Bildschirmaufnahme. Aufgenommen wird der Systemton, nicht der Inhalt Ihres Bildschirms.</translation>
    </message>
    <message>
        <source>You&apos;ll be redirected to System Settings to enable this.</source>
        <translation>Zum Einschalten werden die Systemeinstellungen geöffnet.</translation>
    </message>
    <message>
        <source>Screen capture access granted</source>
        <translation>Bildschirmaufnahme erlaubt</translation>
    </message>
    <message>
        <source>Connect Apple Notes</source>
        <translation>Mit Apple Notizen verbinden</translation>
    </message>
    <message>
        <source>Your meeting notes will appear in Apple Notes automatically.</source>
        <translation>Ihre Besprechungsnotizen erscheinen automatisch in Apple Notizen.</translation>
    </message>
    <message>
        <source>Test Connection</source>
        <translation>Verbindung testen</translation>
    </message>
    <message>
        <source>Skip</source>
        <translation>Überspringen</translation>
    </message>
    <message>
        <source>Testing the connection</source>
        <translation>Verbindung wird getestet</translation>
    </message>
    <message>
        <source>Your notes can be reached. No folder has been chosen to look for; you can choose one in the settings.</source>
        <translation>Ihre Notizen sind erreichbar. Einen Ordner wählen Sie in den Einstellungen.</translation>
    </message>
    <message>
        <source>Connection successful!</source>
        <translation>Verbindung erfolgreich!</translation>
    </message>
    <message>
        <source>Connection failed</source>
        <translation>Verbindung fehlgeschlagen</translation>
    </message>
    <message>
        <source>Enable On-Device AI</source>
        <translation>KI auf dem Gerät nutzen</translation>
    </message>
    <message>
        <source>Quillet can summarise your meetings entirely on your Mac using Apple Intelligence — no internet needed, and nothing ever leaves your device.</source>
        <translation>Quillet kann Ihre Besprechungen mit Apple Intelligence vollständig auf Ihrem Mac zusammenfassen – ohne Internet, und nichts verlässt Ihr Gerät.</translation>
    </message>
    <message>
        <source>If you skip, summaries will use Gemini EU (your data stays in the EU).</source>
        <translation>Wenn Sie dies überspringen, wird für Zusammenfassungen Gemini EU verwendet (Ihre Daten bleiben in der EU).</translation>
    </message>
    <message>
        <source>Open System Settings</source>
        <translation>Systemeinstellungen öffnen</translation>
    </message>
    <message>
        <source>Skip for now</source>
        <translation>Vorerst überspringen</translation>
    </message>
    <message>
        <source>You&apos;re all set!</source>
        <translation>Alles ist bereit!</translation>
    </message>
    <message>
        <source>Quillet lives in your menu bar at the top of your screen. Click the icon to start recording.</source>
        <translation>Sie finden Quillet in der Menüleiste am oberen Bildschirmrand. Klicken Sie auf das Symbol, um eine Aufnahme zu starten.</translation>
    </message>
    <message>
        <source>Quillet launches automatically at startup so it&apos;s always ready when you need it.</source>
        <translation>Quillet startet automatisch, wenn Sie sich anmelden, und ist immer bereit, wenn Sie es brauchen.</translation>
    </message>
    <message>
        <source>Microphone access was refused. You can allow it in System Settings → Privacy &amp; Security → Microphone, now or later; until then Quillet cannot record.</source>
        <translation>Der Zugriff auf das Mikrofon wurde verweigert. Sie können ihn jetzt oder später in Systemeinstellungen → Datenschutz &amp; Sicherheit → Mikrofon erlauben; bis dahin kann Quillet nicht aufnehmen.</translation>
    </message>
</context>
<context>
    <name>quillet::OnboardingView</name>
    <message>
        <source>Continue</source>
        <translation>Weiter</translation>
    </message>
    <message>
        <source>Grant Access</source>
        <translation>Zugriff erlauben</translation>
    </message>
    <message>
        <source>Start Recording</source>
        <translation>Aufnahme starten</translation>
    </message>
    <message>
        <source>Get Started</source>
        <translation>Los geht’s</translation>
    </message>
    <message>
        <source>Next</source>
        <translation>Weiter</translation>
    </message>
</context>
<context>
    <name>quillet::PageDots</name>
    <message>
        <source>Page %1 of %2</source>
        <translation>Seite %1 von %2</translation>
    </message>
</context>
<context>
    <name>quillet::PermissionRow</name>
    <message>
        <source>Allow</source>
        <translation>Erlauben</translation>
    </message>
</context>
<context>
    <name>quillet::Popover</name>
    <message>
        <source>Quillet</source>
        <translation>Quillet</translation>
    </message>
</context>
<context>
    <name>quillet::PreviewSheet</name>
    <message>
        <source>Template Preview</source>
        <translation>Vorschau der Vorlage</translation>
    </message>
    <message>
        <source>Copy</source>
        <translation>Kopieren</translation>
    </message>
    <message>
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
</context>
<context>
    <name>quillet::RecordingNotices</name>
    <message>
        <source>Nothing is heard from the other side</source>
        <translation>Von der Gegenseite ist nichts zu hören</translation>
    </message>
    <message>
        <source>The computer&apos;s sound has been silent for 10 seconds. Check that the meeting plays through the output that is recorded.</source>
        <translation>Der Computer gibt seit 10 Sekunden keinen Ton aus. Prüfen Sie, ob die Besprechung über den Ausgang läuft, der aufgenommen wird.</translation>
    </message>
    <message>
        <source>The microphone is silent</source>
        <translation>Das Mikrofon ist stumm</translation>
    </message>
    <message>
        <source>Nothing has come from the microphone for 10 seconds. Check that it is connected and not muted.</source>
        <translation>Vom Mikrofon kommt seit 10 Sekunden kein Ton. Prüfen Sie, ob es angeschlossen und nicht stummgeschaltet ist.</translation>
    </message>
    <message>
        <source>Recording problem</source>
        <translation>Problem bei der Aufnahme</translation>
    </message>
    <message>
        <source>Recording a meeting</source>
        <translation>Eine Besprechung wird aufgenommen</translation>
    </message>
    <message>
        <source>The recording could not be finished</source>
        <translation>Die Aufnahme konnte nicht abgeschlossen werden</translation>
    </message>
    <message>
        <source>%1 has no note yet. Quillet repairs it when it is started the next time.</source>
        <translation>Zu %1 gibt es noch keine Notiz. Quillet repariert die Aufnahme beim nächsten Start.</translation>
    </message>
    <message>
        <source>Recording saved</source>
        <translation>Aufnahme gespeichert</translation>
    </message>
    <message>
        <source>Show</source>
        <translation>Anzeigen</translation>
    </message>
    <message>
        <source>Open Quillet</source>
        <translation>Quillet öffnen</translation>
    </message>
    <message>
        <source>The chosen microphone is not connected</source>
        <translation>Das gewählte Mikrofon ist nicht angeschlossen</translation>
    </message>
    <message>
        <source>The system&apos;s default microphone is recorded instead.</source>
        <translation>Stattdessen wird das Standardmikrofon des Systems aufgenommen.</translation>
    </message>
    <message>
        <source>The chosen output is not connected</source>
        <translation>Der gewählte Ausgang ist nicht angeschlossen</translation>
    </message>
    <message>
        <source>What plays through the system&apos;s default output is recorded instead.</source>
        <translation>Stattdessen wird aufgenommen, was über den Standardausgang des Systems zu hören ist.</translation>
    </message>
    <message>
        <source>Parts of the recording are missing</source>
        <translation>In der Aufnahme fehlen Teile</translation>
    </message>
    <message>
        <source>The disk of the recordings folder does not keep up. Choose another folder in the settings for the next recording.</source>
        <translation>Der Datenträger des Aufnahmeordners kommt nicht mit. Wählen Sie für die nächste Aufnahme in den Einstellungen einen anderen Ordner.</translation>
    </message>
</context>
<context>
    <name>quillet::SettingsView</name>
    <message>
        <source>General</source>
        <translation>Allgemein</translation>
    </message>
    <message>
        <source>AI &amp; Privacy</source>
        <translation>KI &amp; Datenschutz</translation>
    </message>
    <message>
        <source>Templates</source>
        <translation>Vorlagen</translation>
    </message>
    <message>
        <source>Sections</source>
        <translation>Bereiche</translation>
    </message>
</context>
<context>
    <name>quillet::TemplateEditorSheet</name>
    <message>
        <source>Template Content</source>
        <translation>Inhalt der Vorlage</translation>
    </message>
    <message>
        <source>Template Name</source>
        <translation>Name der Vorlage</translation>
    </message>
    <message>
        <source>Placeholders</source>
        <translation>Platzhalter</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
</context>
<context>
    <name>quillet::TemplateRowView</name>
    <message>
        <source>Default</source>
        <translation>Standard</translation>
    </message>
    <message>
        <source>Built-in</source>
        <translation>Integriert</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Vorschau</translation>
    </message>
    <message>
        <source>Edit</source>
        <translation>Bearbeiten</translation>
    </message>
    <message>
        <source>Export</source>
        <translation>Exportieren</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Löschen</translation>
    </message>
</context>
<context>
    <name>quillet::TemplateSaveDialog</name>
    <message>
        <source>Export Template</source>
        <translation>Vorlage exportieren</translation>
    </message>
</context>
<context>
    <name>quillet::TemplatesTabView</name>
    <message>
        <source>Active Template</source>
        <translation>Aktive Vorlage</translation>
    </message>
    <message>
        <source>Templates</source>
        <translation>Vorlagen</translation>
    </message>
    <message>
        <source>New Template</source>
        <translation>Neue Vorlage</translation>
    </message>
    <message>
        <source>Preview</source>
        <translation>Vorschau</translation>
    </message>
</context>
</TS>
