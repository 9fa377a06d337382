<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it" sourcelanguage="en">
<context>
    <name>CredentialsPanel</name>
    <message>
        <source>Administrator</source>
        <translation>Amministratore</translation>
    </message>
    <message>
        <source>Formatting them needs an administrator&apos;s name and password.</source>
        <translation>Per formattarli servono il nome e la password di un amministratore.</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>Nome &amp;utente:</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>&amp;Password:</translation>
    </message>
    <message>
        <source>Caps Lock is on.</source>
        <translation>Il blocco maiuscole è attivo.</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;OK</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Annulla</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Players</source>
        <translation>Lettori</translation>
    </message>
    <message>
        <source>Tick all players</source>
        <translation>Seleziona tutti i lettori</translation>
    </message>
    <message>
        <source>&amp;All</source>
        <translation>&amp;Tutti</translation>
    </message>
    <message>
        <source>Untick all players</source>
        <translation>Deseleziona tutti i lettori</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>&amp;Nessuno</translation>
    </message>
    <message>
        <source>Eject the ticked players</source>
        <translation>Espelli i lettori selezionati</translation>
    </message>
    <message>
        <source>&amp;Eject</source>
        <translation>&amp;Espelli</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>File</translation>
    </message>
    <message>
        <source>File &amp;type:</source>
        <translation>Ti&amp;po di file:</translation>
    </message>
    <message>
        <source>The extension of the files to add, without the dot</source>
        <translation>L’estensione dei file da aggiungere, senza il punto</translation>
    </message>
    <message>
        <source>Add a folder or a file of this type</source>
        <translation>Aggiungi una cartella o un file di questo tipo</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>&amp;Sfoglia…</translation>
    </message>
    <message>
        <source>Capacity:</source>
        <translation>Capacità:</translation>
    </message>
    <message>
        <source>The size of one ticked player</source>
        <translation>La capacità di uno dei lettori selezionati</translation>
    </message>
    <message>
        <source>Space left:</source>
        <translation>Spazio rimanente:</translation>
    </message>
    <message>
        <source>Free space after copying. A 20-digit number means that the files don&apos;t fit.</source>
        <translation>Spazio libero dopo la copia. Un numero di 20 cifre significa che i file non ci stanno.</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>Apri la home page nel browser</translation>
    </message>
    <message>
        <source>Home page</source>
        <translation>Home page</translation>
    </message>
    <message>
        <source>Progress of all players</source>
        <translation>Avanzamento di tutti i lettori</translation>
    </message>
    <message>
        <source>Players are being filled</source>
        <translation>Riempimento dei lettori in corso</translation>
    </message>
    <message>
        <source>Format the ticked players and copy the files to them</source>
        <translation>Formatta i lettori selezionati e copia i file su di essi</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>&amp;Avvia</translation>
    </message>
</context>
<context>
    <name>fillstation::CredentialsPanel</name>
    <message>
        <source>Show the password</source>
        <translation>Mostra la password</translation>
    </message>
    <message>
        <source>No player is ticked.</source>
        <translation>Nessun lettore è selezionato.</translation>
    </message>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>L’elenco dei file è vuoto: %n lettore verrà cancellato e resterà vuoto.</numerusform>
            <numerusform>L’elenco dei file è vuoto: %n lettori verranno cancellati e resteranno vuoti.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>%n lettore verrà cancellato e riempito con il contenuto di %1 (%2, %3).</numerusform>
            <numerusform>%n lettori verranno cancellati e riempiti con il contenuto di %1 (%2, %3).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n cartella</numerusform>
            <numerusform>%n cartelle</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n file</numerusform>
            <numerusform>%n file</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::FileTable</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n byte</numerusform>
            <numerusform>%n byte</numerusform>
        </translation>
    </message>
    <message>
        <source>%1.%2 MB</source>
        <translation>%1,%2 MB</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Nome</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Dimensione</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Percorso</translation>
    </message>
    <message>
        <source>the name</source>
        <translation>il nome</translation>
    </message>
    <message>
        <source>4 GiB or more</source>
        <translation>4 GiB o più</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>il nome esiste già</translation>
    </message>
    <message>
        <source>its folder is full</source>
        <translation>la sua cartella è piena</translation>
    </message>
    <message>
        <source>no %1 files</source>
        <translation>nessun file %1</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n file</numerusform>
            <numerusform>%n file</numerusform>
        </translation>
    </message>
    <message>
        <source>A single file always fails to copy: add its folder instead.</source>
        <translation>La copia di un singolo file non riesce mai: aggiungi invece la sua cartella.</translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>I lettori non possono memorizzare %n di questi elementi:</numerusform>
            <numerusform>I lettori non possono memorizzare %n di questi elementi:</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop folders of audio here,
or choose Browse</source>
        <translation>Trascina qui cartelle di file audio
o scegli «Sfoglia»</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>File</translation>
    </message>
    <message>
        <source>The folders to copy, in this order. Delete removes the selected rows.</source>
        <translation>Le cartelle da copiare, in quest’ordine. Il tasto Canc rimuove le righe selezionate.</translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message>
        <source>File type</source>
        <translation>Tipo di file</translation>
    </message>
    <message>
        <source>File types</source>
        <translation>Tipi di file</translation>
    </message>
    <message>
        <source>%p%</source>
        <translation>%p%</translation>
    </message>
    <message>
        <source>Last run: %p %</source>
        <translation>Ultima esecuzione: %p%</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1%, circa %n min rimanente</numerusform>
            <numerusform>%1%, circa %n min rimanenti</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>Espulsione di %n lettore…</numerusform>
            <numerusform>Espulsione di %n lettori…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>Puoi scollegare %1 lettori su %n.</numerusform>
            <numerusform>Puoi scollegare %1 dei %n lettori.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>Puoi scollegare %n lettore.</numerusform>
            <numerusform>Puoi scollegare %n lettori.</numerusform>
        </translation>
    </message>
    <message>
        <source>Players</source>
        <translation>Lettori</translation>
    </message>
    <message>
        <source>Players (%1 of %2 ticked)</source>
        <translation>Lettori (selezionati: %1 su %2)</translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>Riempimento di %n lettore. Chiudi di nuovo per interrompere.</numerusform>
            <numerusform>Riempimento di %n lettori. Chiudi di nuovo per interrompere.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::OpenPanel</name>
    <message>
        <source>Folder or file:</source>
        <translation>Cartella o file:</translation>
    </message>
    <message>
        <source>Add a folder or a file (%1)</source>
        <translation>Aggiungi una cartella o un file (%1)</translation>
    </message>
    <message>
        <source>Parent folders</source>
        <translation>Cartelle superiori</translation>
    </message>
</context>
<context>
    <name>fillstation::PlayersView</name>
    <message>
        <source>(blank)</source>
        <translation>(non formattato)</translation>
    </message>
    <message>
        <source>Slot %1</source>
        <translation>Slot %1</translation>
    </message>
    <message>
        <source>slow: 12 Mbit/s</source>
        <translation>lento: 12 Mbit/s</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>in attesa</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message>
        <source>checking</source>
        <translation>verifica</translation>
    </message>
    <message>
        <source>done</source>
        <translation>completato</translation>
    </message>
    <message>
        <source>formatting</source>
        <translation>formattazione</translation>
    </message>
    <message>
        <source>✗ Failed</source>
        <translation>✗ Errore</translation>
    </message>
    <message>
        <source>✓ Filled</source>
        <translation>✓ Riempito</translation>
    </message>
    <message>
        <source>Tick the &amp;Failed</source>
        <translation>Seleziona quelli in e&amp;rrore</translation>
    </message>
    <message>
        <source>Plug in a player</source>
        <translation>Collega un lettore</translation>
    </message>
    <message>
        <source>Tick only the failed players</source>
        <translation>Seleziona solo i lettori in errore</translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message>
        <source>Players are being filled</source>
        <translation>Riempimento dei lettori in corso</translation>
    </message>
    <message>
        <source>&amp;Remove This Row</source>
        <translation>&amp;Rimuovi questa riga</translation>
    </message>
    <message>
        <source>Remove &amp;Selected</source>
        <translation>Rimuovi &amp;selezionate</translation>
    </message>
    <message>
        <source>Remove &amp;All</source>
        <translation>Rimuovi &amp;tutto</translation>
    </message>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>Rimuovi %n riga &amp;selezionata</numerusform>
            <numerusform>Rimuovi %n righe &amp;selezionate</numerusform>
        </translation>
    </message>
</context>
</TS>
