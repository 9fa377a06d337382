<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>CredentialsPanel</name>
    <message>
        <source>Administrator</source>
        <translation>Administrator</translation>
    </message>
    <message>
        <source>Formatting them needs an administrator&apos;s name and password.</source>
        <translation>Zum Formatieren sind Name und Passwort eines Administrators nötig.</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>&amp;Benutzername:</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>&amp;Passwort:</translation>
    </message>
    <message>
        <source>Caps Lock is on.</source>
        <translation>Die Feststelltaste ist aktiviert.</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;OK</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Abbrechen</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Players</source>
        <translation>Player</translation>
    </message>
    <message>
        <source>Tick all players</source>
        <translation>Alle Player auswählen</translation>
    </message>
    <message>
        <source>&amp;All</source>
        <translation>&amp;Alle</translation>
    </message>
    <message>
        <source>Untick all players</source>
        <translation>Auswahl aller Player aufheben</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>&amp;Keine</translation>
    </message>
    <message>
        <source>Eject the ticked players</source>
        <translation>Die ausgewählten Player auswerfen</translation>
    </message>
    <message>
        <source>&amp;Eject</source>
        <translation>Aus&amp;werfen</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>File &amp;type:</source>
        <translation>Datei&amp;typ:</translation>
    </message>
    <message>
        <source>The extension of the files to add, without the dot</source>
        <translation>Die Endung der hinzuzufügenden Dateien, ohne Punkt</translation>
    </message>
    <message>
        <source>Add a folder or a file of this type</source>
        <translation>Einen Ordner oder eine Datei dieses Typs hinzufügen</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>&amp;Durchsuchen&#xa0;…</translation>
    </message>
    <message>
        <source>Capacity:</source>
        <translation>Kapazität:</translation>
    </message>
    <message>
        <source>The size of one ticked player</source>
        <translation>Die Kapazität eines der ausgewählten Player</translation>
    </message>
    <message>
        <source>Space left:</source>
        <translation>Freier Platz:</translation>
    </message>
    <message>
        <source>Free space after copying. A 20-digit number means that the files don&apos;t fit.</source>
        <translation>Freier Platz nach dem Kopieren. Eine 20-stellige Zahl bedeutet, dass die Dateien nicht hineinpassen.</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>Die Homepage im Browser öffnen</translation>
    </message>
    <message>
        <source>Home page</source>
        <translation>Homepage</translation>
    </message>
    <message>
        <source>Progress of all players</source>
        <translation>Fortschritt aller Player</translation>
    </message>
    <message>
        <source>Players are being filled</source>
        <translation>Player werden befüllt</translation>
    </message>
    <message>
        <source>Format the ticked players and copy the files to them</source>
        <translation>Die ausgewählten Player formatieren und die Dateien darauf kopieren</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>&amp;Starten</translation>
    </message>
</context>
<context>
    <name>fillstation::CredentialsPanel</name>
    <message>
        <source>Show the password</source>
        <translation>Passwort anzeigen</translation>
    </message>
    <message>
        <source>No player is ticked.</source>
        <translation>Es ist kein Player ausgewählt.</translation>
    </message>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>Die Dateiliste ist leer: %n Player wird gelöscht und bleibt leer.</numerusform>
            <numerusform>Die Dateiliste ist leer: %n Player werden gelöscht und bleiben leer.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>%n Player wird gelöscht und aus %1 befüllt (%2, %3).</numerusform>
            <numerusform>%n Player werden gelöscht und aus %1 befüllt (%2, %3).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n Ordner</numerusform>
            <numerusform>%n Ordnern</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n Datei</numerusform>
            <numerusform>%n Dateien</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::FileTable</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n Byte</numerusform>
            <numerusform>%n Byte</numerusform>
        </translation>
    </message>
    <message>
        <source>%1.%2 MB</source>
        <translation>%1,%2 MB</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Name</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <source>the name</source>
        <translation>der Name</translation>
    </message>
    <message>
        <source>4 GiB or more</source>
        <translation>4 GiB oder mehr</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>der Name ist schon vergeben</translation>
    </message>
    <message>
        <source>its folder is full</source>
        <translation>der Ordner ist voll</translation>
    </message>
    <message>
        <source>no %1 files</source>
        <translation>keine %1-Dateien</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n Datei</numerusform>
            <numerusform>%n Dateien</numerusform>
        </translation>
    </message>
    <message>
        <source>A single file always fails to copy: add its folder instead.</source>
        <translation>Das Kopieren einer einzelnen Datei schlägt immer fehl: Fügen Sie stattdessen ihren Ordner hinzu.</translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>Die Player können %n davon nicht speichern:</numerusform>
            <numerusform>Die Player können %n davon nicht speichern:</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop folders of audio here,
or choose Browse</source>
        <translation>Ziehen Sie Ordner mit Audiodateien hierher
oder wählen Sie „Durchsuchen“</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Dateien</translation>
    </message>
    <message>
        <source>The folders to copy, in this order. Delete removes the selected rows.</source>
        <translation>Die zu kopierenden Ordner in dieser Reihenfolge. „Entf“ entfernt die ausgewählten Zeilen.</translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message>
        <source>File type</source>
        <translation>Dateityp</translation>
    </message>
    <message>
        <source>File types</source>
        <translation>Dateitypen</translation>
    </message>
    <message>
        <source>%p%</source>
        <translation>%p&#xa0;%</translation>
    </message>
    <message>
        <source>Last run: %p %</source>
        <translation>Letzter Durchlauf: %p&#xa0;%</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1&#xa0;%</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1&#xa0;%, noch etwa %n&#xa0;min</numerusform>
            <numerusform>%1&#xa0;%, noch etwa %n&#xa0;min</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>%n Player wird ausgeworfen&#xa0;…</numerusform>
            <numerusform>%n Player werden ausgeworfen&#xa0;…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>Sie können %1 von %n Player abziehen.</numerusform>
            <numerusform>Sie können %1 von %n Playern abziehen.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>Sie können %n Player abziehen.</numerusform>
            <numerusform>Sie können %n Player abziehen.</numerusform>
        </translation>
    </message>
    <message>
        <source>Players</source>
        <translation>Player</translation>
    </message>
    <message>
        <source>Players (%1 of %2 ticked)</source>
        <translation>Player (%1 von %2 ausgewählt)</translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>%n Player wird befüllt. Zum Abbrechen erneut schließen.</numerusform>
            <numerusform>%n Player werden befüllt. Zum Abbrechen erneut schließen.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::OpenPanel</name>
    <message>
        <source>Folder or file:</source>
        <translation>Ordner oder Datei:</translation>
    </message>
    <message>
        <source>Add a folder or a file (%1)</source>
        <translation>Ordner oder Datei hinzufügen (%1)</translation>
    </message>
    <message>
        <source>Parent folders</source>
        <translation>Übergeordnete Ordner</translation>
    </message>
</context>
<context>
    <name>fillstation::PlayersView</name>
    <message>
        <source>(blank)</source>
        <translation>(unformatiert)</translation>
    </message>
    <message>
        <source>Slot %1</source>
        <translation>Steckplatz %1</translation>
    </message>
    <message>
        <source>slow: 12 Mbit/s</source>
        <translation>langsam: 12 Mbit/s</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>wartet</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1&#xa0;%</translation>
    </message>
    <message>
        <source>checking</source>
        <translation>Prüfung</translation>
    </message>
    <message>
        <source>done</source>
        <translation>fertig</translation>
    </message>
    <message>
        <source>formatting</source>
        <translation>Formatierung</translation>
    </message>
    <message>
        <source>✗ Failed</source>
        <translation>✗ Fehlgeschlagen</translation>
    </message>
    <message>
        <source>✓ Filled</source>
        <translation>✓ Befüllt</translation>
    </message>
    <message>
        <source>Tick the &amp;Failed</source>
        <translation>&amp;Fehlgeschlagene auswählen</translation>
    </message>
    <message>
        <source>Plug in a player</source>
        <translation>Schließen Sie einen Player an</translation>
    </message>
    <message>
        <source>Tick only the failed players</source>
        <translation>Nur die fehlgeschlagenen Player auswählen</translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message>
        <source>Players are being filled</source>
        <translation>Player werden befüllt</translation>
    </message>
    <message>
        <source>&amp;Remove This Row</source>
        <translation>Diese &amp;Zeile entfernen</translation>
    </message>
    <message>
        <source>Remove &amp;Selected</source>
        <translation>A&amp;usgewählte entfernen</translation>
    </message>
    <message>
        <source>Remove &amp;All</source>
        <translation>A&amp;lle entfernen</translation>
    </message>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>%n a&amp;usgewählte Zeile entfernen</numerusform>
            <numerusform>%n a&amp;usgewählte Zeilen entfernen</numerusform>
        </translation>
    </message>
</context>
</TS>
