<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pl" sourcelanguage="en">
<context>
    <name>CredentialsPanel</name>
    <message>
        <source>Administrator</source>
        <translation>Administrator</translation>
    </message>
    <message>
        <source>Formatting them needs an administrator&apos;s name and password.</source>
        <translation>Do formatowania potrzebne są nazwa i hasło administratora.</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>&amp;Nazwa użytkownika:</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>&amp;Hasło:</translation>
    </message>
    <message>
        <source>Caps Lock is on.</source>
        <translation>Klawisz Caps Lock jest włączony.</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;OK</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Anuluj</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Players</source>
        <translation>Odtwarzacze</translation>
    </message>
    <message>
        <source>Tick all players</source>
        <translation>Zaznacz wszystkie odtwarzacze</translation>
    </message>
    <message>
        <source>&amp;All</source>
        <translation>&amp;Wszystkie</translation>
    </message>
    <message>
        <source>Untick all players</source>
        <translation>Odznacz wszystkie odtwarzacze</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>Ża&amp;den</translation>
    </message>
    <message>
        <source>Eject the ticked players</source>
        <translation>Wysuń zaznaczone odtwarzacze</translation>
    </message>
    <message>
        <source>&amp;Eject</source>
        <translation>Wy&amp;suń</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Pliki</translation>
    </message>
    <message>
        <source>File &amp;type:</source>
        <translation>&amp;Typ plików:</translation>
    </message>
    <message>
        <source>The extension of the files to add, without the dot</source>
        <translation>Rozszerzenie dodawanych plików, bez kropki</translation>
    </message>
    <message>
        <source>Add a folder or a file of this type</source>
        <translation>Dodaj folder lub plik tego typu</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>&amp;Przeglądaj…</translation>
    </message>
    <message>
        <source>Capacity:</source>
        <translation>Pojemność:</translation>
    </message>
    <message>
        <source>The size of one ticked player</source>
        <translation>Pojemność jednego z zaznaczonych odtwarzaczy</translation>
    </message>
    <message>
        <source>Space left:</source>
        <translation>Pozostałe miejsce:</translation>
    </message>
    <message>
        <source>Free space after copying. A 20-digit number means that the files don&apos;t fit.</source>
        <translation>Wolne miejsce po skopiowaniu. Liczba 20-cyfrowa oznacza, że pliki się nie zmieszczą.</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>Otwórz stronę domową w przeglądarce</translation>
    </message>
    <message>
        <source>Home page</source>
        <translation>Strona domowa</translation>
    </message>
    <message>
        <source>Progress of all players</source>
        <translation>Postęp wszystkich odtwarzaczy</translation>
    </message>
    <message>
        <source>Players are being filled</source>
        <translation>Trwa napełnianie odtwarzaczy</translation>
    </message>
    <message>
        <source>Format the ticked players and copy the files to them</source>
        <translation>Sformatuj zaznaczone odtwarzacze i skopiuj na nie pliki</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>&amp;Rozpocznij</translation>
    </message>
</context>
<context>
    <name>fillstation::CredentialsPanel</name>
    <message>
        <source>Show the password</source>
        <translation>Pokaż hasło</translation>
    </message>
    <message>
        <source>No player is ticked.</source>
        <translation>Nie zaznaczono żadnego odtwarzacza.</translation>
    </message>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>Lista plików jest pusta: %n odtwarzacz zostanie wyczyszczony i pozostanie pusty.</numerusform>
            <numerusform>Lista plików jest pusta: %n odtwarzacze zostaną wyczyszczone i pozostaną puste.</numerusform>
            <numerusform>Lista plików jest pusta: %n odtwarzaczy zostanie wyczyszczonych i pozostanie pustych.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>%n odtwarzacz zostanie wyczyszczony i napełniony plikami z %1 (%2, %3).</numerusform>
            <numerusform>%n odtwarzacze zostaną wyczyszczone i napełnione plikami z %1 (%2, %3).</numerusform>
            <numerusform>%n odtwarzaczy zostanie wyczyszczonych i napełnionych plikami z %1 (%2, %3).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n folderu</numerusform>
            <numerusform>%n folderów</numerusform>
            <numerusform>%n folderów</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n plik</numerusform>
            <numerusform>%n pliki</numerusform>
            <numerusform>%n plików</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::FileTable</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n bajt</numerusform>
            <numerusform>%n bajty</numerusform>
            <numerusform>%n bajtów</numerusform>
        </translation>
    </message>
    <message>
        <source>%1.%2 MB</source>
        <translation>%1,%2 MB</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Nazwa</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Rozmiar</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Ścieżka</translation>
    </message>
    <message>
        <source>the name</source>
        <translation>nazwa</translation>
    </message>
    <message>
        <source>4 GiB or more</source>
        <translation>4 GiB lub więcej</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>nazwa już istnieje</translation>
    </message>
    <message>
        <source>its folder is full</source>
        <translation>jego folder jest pełny</translation>
    </message>
    <message>
        <source>no %1 files</source>
        <translation>brak plików %1</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n plik</numerusform>
            <numerusform>%n pliki</numerusform>
            <numerusform>%n plików</numerusform>
        </translation>
    </message>
    <message>
        <source>A single file always fails to copy: add its folder instead.</source>
        <translation>Pojedynczego pliku nigdy nie uda się skopiować: zamiast tego dodaj jego folder.</translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>Na odtwarzaczach nie można zapisać %n z tych elementów:</numerusform>
            <numerusform>Na odtwarzaczach nie można zapisać %n z tych elementów:</numerusform>
            <numerusform>Na odtwarzaczach nie można zapisać %n z tych elementów:</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop folders of audio here,
or choose Browse</source>
        <translation>Upuść tu foldery z nagraniami
lub wybierz „Przeglądaj”</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Pliki</translation>
    </message>
    <message>
        <source>The folders to copy, in this order. Delete removes the selected rows.</source>
        <translation>Foldery do skopiowania w tej kolejności. Klawisz Delete usuwa zaznaczone wiersze.</translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message>
        <source>File type</source>
        <translation>Typ plików</translation>
    </message>
    <message>
        <source>File types</source>
        <translation>Typy plików</translation>
    </message>
    <message>
        <source>%p%</source>
        <translation>%p%</translation>
    </message>
    <message>
        <source>Last run: %p %</source>
        <translation>Ostatni przebieg: %p%</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1%, pozostało około %n&#xa0;min</numerusform>
            <numerusform>%1%, pozostało około %n&#xa0;min</numerusform>
            <numerusform>%1%, pozostało około %n&#xa0;min</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>Wysuwanie %n odtwarzacza…</numerusform>
            <numerusform>Wysuwanie %n odtwarzaczy…</numerusform>
            <numerusform>Wysuwanie %n odtwarzaczy…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>Można odłączyć %1 z %n odtwarzacza.</numerusform>
            <numerusform>Można odłączyć %1 z %n odtwarzaczy.</numerusform>
            <numerusform>Można odłączyć %1 z %n odtwarzaczy.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>Można odłączyć %n odtwarzacz.</numerusform>
            <numerusform>Można odłączyć %n odtwarzacze.</numerusform>
            <numerusform>Można odłączyć %n odtwarzaczy.</numerusform>
        </translation>
    </message>
    <message>
        <source>Players</source>
        <translation>Odtwarzacze</translation>
    </message>
    <message>
        <source>Players (%1 of %2 ticked)</source>
        <translation>Odtwarzacze (zaznaczone: %1 z %2)</translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>Napełnianie %n odtwarzacza. Zamknij ponownie, aby przerwać.</numerusform>
            <numerusform>Napełnianie %n odtwarzaczy. Zamknij ponownie, aby przerwać.</numerusform>
            <numerusform>Napełnianie %n odtwarzaczy. Zamknij ponownie, aby przerwać.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::OpenPanel</name>
    <message>
        <source>Folder or file:</source>
        <translation>Folder lub plik:</translation>
    </message>
    <message>
        <source>Add a folder or a file (%1)</source>
        <translation>Dodaj folder lub plik (%1)</translation>
    </message>
    <message>
        <source>Parent folders</source>
        <translation>Foldery nadrzędne</translation>
    </message>
</context>
<context>
    <name>fillstation::PlayersView</name>
    <message>
        <source>(blank)</source>
        <translation>(niesformatowany)</translation>
    </message>
    <message>
        <source>Slot %1</source>
        <translation>Gniazdo %1</translation>
    </message>
    <message>
        <source>slow: 12 Mbit/s</source>
        <translation>wolno: 12 Mbit/s</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>oczekiwanie</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message>
        <source>checking</source>
        <translation>sprawdzanie</translation>
    </message>
    <message>
        <source>done</source>
        <translation>gotowe</translation>
    </message>
    <message>
        <source>formatting</source>
        <translation>formatowanie</translation>
    </message>
    <message>
        <source>✗ Failed</source>
        <translation>✗ Błąd</translation>
    </message>
    <message>
        <source>✓ Filled</source>
        <translation>✓ Napełniony</translation>
    </message>
    <message>
        <source>Tick the &amp;Failed</source>
        <translation>Zaznacz te z &amp;błędem</translation>
    </message>
    <message>
        <source>Plug in a player</source>
        <translation>Podłącz odtwarzacz</translation>
    </message>
    <message>
        <source>Tick only the failed players</source>
        <translation>Zaznacz tylko odtwarzacze z błędem</translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message>
        <source>Players are being filled</source>
        <translation>Trwa napełnianie odtwarzaczy</translation>
    </message>
    <message>
        <source>&amp;Remove This Row</source>
        <translation>&amp;Usuń ten wiersz</translation>
    </message>
    <message>
        <source>Remove &amp;Selected</source>
        <translation>Usuń &amp;zaznaczone</translation>
    </message>
    <message>
        <source>Remove &amp;All</source>
        <translation>Usuń w&amp;szystkie</translation>
    </message>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>Usuń %n &amp;zaznaczony wiersz</numerusform>
            <numerusform>Usuń %n &amp;zaznaczone wiersze</numerusform>
            <numerusform>Usuń %n &amp;zaznaczonych wierszy</numerusform>
        </translation>
    </message>
</context>
</TS>
