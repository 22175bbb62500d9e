<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Messages</name>
    <message>
        <source>Microphone access is required. Enable it in System Settings → Privacy &amp; Security → Microphone.</source>
        <translation>Der Soundserver verweigert den Zugriff auf das Mikrofon. Erlauben Sie diesem Programm Tonaufnahmen.</translation>
    </message>
    <message>
        <source>No microphone available.</source>
        <translation>Es gibt kein Mikrofon. Schließen Sie eines an oder wählen Sie in den Klangeinstellungen einen Eingang.</translation>
    </message>
    <message>
        <source>Could not get shareable content: </source>
        <translation>Die Tonausgänge lassen sich nicht auflisten: </translation>
    </message>
    <message>
        <source>No shareable content returned.</source>
        <translation>Der gewählte Tonausgang ist nicht vorhanden. Wählen Sie einen in den Einstellungen aus oder siehe „quillet devices“.</translation>
    </message>
    <message>
        <source>No display available for system audio capture.</source>
        <translation>Es gibt keinen Tonausgang, der aufgenommen werden kann. Schließen Sie einen an oder schalten Sie ihn ein und versuchen Sie es noch einmal.</translation>
    </message>
    <message>
        <source>Stream start failed: </source>
        <translation>Der Tonausgang lässt sich nicht aufnehmen: </translation>
    </message>
    <message>
        <source>Failed to setup audio writer.</source>
        <translation>Die Aufnahmedatei konnte weder im gewählten Ordner noch im Standardordner angelegt werden. Wird gerade eine andere Aufnahme in dieselbe Datei geschrieben?</translation>
    </message>
    <message>
        <source>Screen capture and microphone access are required to record. Please allow access in System Settings → Privacy &amp; Security.</source>
        <translation>Der Soundserver verweigert den Zugriff auf den Ton des Computers oder das Mikrofon. Erlauben Sie diesem Programm Tonaufnahmen.</translation>
    </message>
    <message>
        <source>Please allow access in System Settings → Privacy &amp; Security → Automation → enable Notes for this app.</source>
        <translation>Das Notizprogramm lässt Quillet nicht zu. In den Einstellungen können Sie den Zugriff anfordern.</translation>
    </message>
    <message>
        <source>The recording was saved, but a note in Apple Notes could not be created. You can open the recordings folder from the menu.</source>
        <translation>Die Aufnahme wurde gespeichert, aber ihre Notiz konnte nicht angelegt werden. Den Aufnahmeordner können Sie über das Menü öffnen.</translation>
    </message>
    <message>
        <source>Requires macOS 26.0+</source>
        <translation>Es ist kein nutzbarer lokaler Modellserver eingerichtet. Siehe „quillet settings list“.</translation>
    </message>
</context>
<context>
    <name>quillet::AiSection</name>
    <message>
        <source>On-device with WhisperKit</source>
        <translation>Transkripte aus einem Programm Ihrer Wahl</translation>
    </message>
    <message>
        <source>Speech-to-text runs entirely on your Mac. Your audio never leaves your device.</source>
        <translation>„quillet notes create“ übernimmt ein Transkript in die Notiz seiner Aufnahme. Quillet sendet Ihre Aufnahmen nie ins Internet.</translation>
    </message>
    <message>
        <source>Always local — no internet required</source>
        <translation>Aufnahmen entstehen und bleiben auf diesem Computer</translation>
    </message>
    <message>
        <source>On-device AI (Apple Intelligence)</source>
        <translation>KI auf dem Gerät (lokaler Modellserver)</translation>
    </message>
    <message>
        <source>Summaries are generated locally. Nothing leaves your Mac.</source>
        <translation>Ein Sprachmodell auf diesem Computer fasst zusammen. Nichts verlässt ihn.</translation>
    </message>
    <message>
        <source>Summaries will automatically use Gemini EU as fallback until on-device AI becomes available.</source>
        <translation>Bis dahin werden keine Zusammenfassungen erstellt und keine Transkripte verschickt.</translation>
    </message>
    <message>
        <source>Apple Intelligence is available</source>
        <translation>KI auf dem Gerät ist verfügbar</translation>
    </message>
    <message>
        <source>Using Gemini EU — your transcript text is sent to Google&apos;s EU servers. Data stays in the EU.</source>
        <translation>Es ist kein Cloud-Dienst eingerichtet. Deshalb werden keine Zusammenfassungen erstellt und keine Transkripte verschickt. Siehe „quillet settings list“.</translation>
    </message>
</context>
<context>
    <name>quillet::AlertCard</name>
    <message>
        <source>Open System Settings</source>
        <translation>Einstellungen öffnen</translation>
    </message>
</context>
<context>
    <name>quillet::MenuView</name>
    <message>
        <source>This app runs in macOS&apos;s App Sandbox. To record meetings, allow access for:</source>
        <translation>Der Soundserver lässt Quillet nicht zu. Erlauben Sie für Aufnahmen den Zugriff auf:</translation>
    </message>
    <message>
        <source>Screen Capture</source>
        <translation>Ton des Computers</translation>
    </message>
    <message>
        <source>Show Last Recording in Finder</source>
        <translation>Letzte Aufnahme im Ordner zeigen</translation>
    </message>
</context>
<context>
    <name>quillet::NewFolderSheet</name>
    <message>
        <source>Enter a name for the new Apple Notes folder where recordings will be saved.</source>
        <translation>Geben Sie einen Namen für den neuen Notizordner ein, in dem Aufnahmen gespeichert werden.</translation>
    </message>
</context>
<context>
    <name>quillet::NotesGroup</name>
    <message>
        <source>Apple Notes</source>
        <translation>Notizen</translation>
    </message>
    <message>
        <source>Automation permission required</source>
        <translation>Das Notizprogramm muss den Zugriff erlauben</translation>
    </message>
    <message>
        <source>Could not load Notes folders. Grant Automation permission for Notes and try Refresh again.</source>
        <translation>Die Notizordner konnten nicht geladen werden. Erlauben Sie den Zugriff auf Ihre Notizen und versuchen Sie es mit „Aktualisieren“ noch einmal.</translation>
    </message>
</context>
<context>
    <name>quillet::OnboardingPages</name>
    <message>
        <source>Quillet needs your microphone to capture your voice during meetings. Your audio is processed entirely on your Mac.</source>
        <translation>Quillet braucht Ihr Mikrofon, um Ihre Stimme in Besprechungen aufzunehmen. Der Ton wird ausschließlich auf diesem Computer verarbeitet.</translation>
    </message>
    <message>
        <source>Microphone access was refused. You can allow it in System Settings → Privacy &amp; Security → Microphone, now or later; until then Quillet cannot record.</source>
        <translation>Der Soundserver lässt Quillet nicht zu. Erlauben Sie diesem Programm jetzt oder später Tonaufnahmen; bis dahin kann Quillet nicht aufnehmen.</translation>
    </message>
    <message>
        <source>System Audio Capture</source>
        <translation>Ton des Computers</translation>
    </message>
    <message>
        <source>To record audio from Zoom, Teams, Google Meet, and other apps, Quillet needs Screen Capture permission. This captures system audio — not your screen content.</source>
        <translation>Um den Ton von Zoom, Teams, Google Meet und anderen Programmen aufzunehmen, zeichnet Quillet auf, was Ihr Computer wiedergibt. Ihr Bildschirm wird nie aufgenommen.</translation>
    </message>
    <message>
        <source>You&apos;ll be redirected to System Settings to enable this.</source>
        <translation>Dazu werden die Klangeinstellungen Ihres Desktops geöffnet.</translation>
    </message>
    <message>
        <source>Screen capture access granted</source>
        <translation>Tonaufnahme ist möglich</translation>
    </message>
    <message>
        <source>Connect Apple Notes</source>
        <translation>Notizen verbinden</translation>
    </message>
    <message>
        <source>Your meeting notes will appear in Apple Notes automatically.</source>
        <translation>Besprechungsnotizen erscheinen automatisch als Markdown-Dateien oder in Joplin.</translation>
    </message>
    <message>
        <source>Quillet can summarise your meetings entirely on your Mac using Apple Intelligence — no internet needed, and nothing ever leaves your device.</source>
        <translation>Quillet kann Ihre Besprechungen mit einem lokalen Sprachmodell vollständig auf diesem Computer zusammenfassen – ohne Internet, und nichts verlässt Ihr Gerät.</translation>
    </message>
    <message>
        <source>If you skip, summaries will use Gemini EU (your data stays in the EU).</source>
        <translation>Sie können das später einrichten. Transkripte werden nur verschickt, wenn Sie einen Cloud-Dienst einrichten.</translation>
    </message>
    <message>
        <source>Open System Settings</source>
        <translation>Einstellungen öffnen</translation>
    </message>
    <message>
        <source>Quillet lives in your menu bar at the top of your screen. Click the icon to start recording.</source>
        <translation>Sie finden Quillet im Infobereich der Leiste. Klicken Sie auf das Symbol, um eine Aufnahme zu starten. Ohne Infobereich öffnet ein erneuter Start von Quillet das Fenster.</translation>
    </message>
</context>
</TS>
