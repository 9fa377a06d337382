<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>CredentialsPanel</name>
    <message>
        <source>Administrator</source>
        <translation>Administrateur</translation>
    </message>
    <message>
        <source>Formatting them needs an administrator&apos;s name and password.</source>
        <translation>Le formatage nécessite le nom et le mot de passe d’un administrateur.</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>&amp;Nom d’utilisateur&#xa0;:</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>&amp;Mot de passe&#xa0;:</translation>
    </message>
    <message>
        <source>Caps Lock is on.</source>
        <translation>Le verrouillage des majuscules est activé.</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;OK</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Annuler</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Players</source>
        <translation>Lecteurs</translation>
    </message>
    <message>
        <source>Tick all players</source>
        <translation>Cocher tous les lecteurs</translation>
    </message>
    <message>
        <source>&amp;All</source>
        <translation>&amp;Tous</translation>
    </message>
    <message>
        <source>Untick all players</source>
        <translation>Décocher tous les lecteurs</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>&amp;Aucun</translation>
    </message>
    <message>
        <source>Eject the ticked players</source>
        <translation>Éjecter les lecteurs cochés</translation>
    </message>
    <message>
        <source>&amp;Eject</source>
        <translation>É&amp;jecter</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Fichiers</translation>
    </message>
    <message>
        <source>File &amp;type:</source>
        <translation>T&amp;ype de fichier&#xa0;:</translation>
    </message>
    <message>
        <source>The extension of the files to add, without the dot</source>
        <translation>L’extension des fichiers à ajouter, sans le point</translation>
    </message>
    <message>
        <source>Add a folder or a file of this type</source>
        <translation>Ajouter un dossier ou un fichier de ce type</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>&amp;Parcourir…</translation>
    </message>
    <message>
        <source>Capacity:</source>
        <translation>Capacité&#xa0;:</translation>
    </message>
    <message>
        <source>The size of one ticked player</source>
        <translation>La capacité d’un des lecteurs cochés</translation>
    </message>
    <message>
        <source>Space left:</source>
        <translation>Espace restant&#xa0;:</translation>
    </message>
    <message>
        <source>Free space after copying. A 20-digit number means that the files don&apos;t fit.</source>
        <translation>Espace libre après la copie. Un nombre de 20 chiffres signifie que les fichiers ne tiennent pas.</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>Ouvrir le site web dans le navigateur</translation>
    </message>
    <message>
        <source>Home page</source>
        <translation>Site web</translation>
    </message>
    <message>
        <source>Progress of all players</source>
        <translation>Progression de tous les lecteurs</translation>
    </message>
    <message>
        <source>Players are being filled</source>
        <translation>Remplissage des lecteurs en cours</translation>
    </message>
    <message>
        <source>Format the ticked players and copy the files to them</source>
        <translation>Formater les lecteurs cochés et y copier les fichiers</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>&amp;Démarrer</translation>
    </message>
</context>
<context>
    <name>fillstation::CredentialsPanel</name>
    <message>
        <source>Show the password</source>
        <translation>Afficher le mot de passe</translation>
    </message>
    <message>
        <source>No player is ticked.</source>
        <translation>Aucun lecteur n’est coché.</translation>
    </message>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>La liste de fichiers est vide&#xa0;: %n lecteur sera effacé et restera vide.</numerusform>
            <numerusform>La liste de fichiers est vide&#xa0;: %n lecteurs seront effacés et resteront vides.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>%n lecteur sera effacé et rempli à partir de %1 (%2, %3).</numerusform>
            <numerusform>%n lecteurs seront effacés et remplis à partir de %1 (%2, %3).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n dossier</numerusform>
            <numerusform>%n dossiers</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n fichier</numerusform>
            <numerusform>%n fichiers</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::FileTable</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n octet</numerusform>
            <numerusform>%n octets</numerusform>
        </translation>
    </message>
    <message>
        <source>%1.%2 MB</source>
        <translation>%1,%2 MB</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Nom</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Taille</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Chemin</translation>
    </message>
    <message>
        <source>the name</source>
        <translation>le nom</translation>
    </message>
    <message>
        <source>4 GiB or more</source>
        <translation>4 GiB ou plus</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>le nom existe déjà</translation>
    </message>
    <message>
        <source>its folder is full</source>
        <translation>son dossier est plein</translation>
    </message>
    <message>
        <source>no %1 files</source>
        <translation>aucun fichier %1</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n fichier</numerusform>
            <numerusform>%n fichiers</numerusform>
        </translation>
    </message>
    <message>
        <source>A single file always fails to copy: add its folder instead.</source>
        <translation>La copie d’un fichier isolé échoue toujours&#xa0;: ajoutez plutôt son dossier.</translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>Les lecteurs ne peuvent pas stocker %n de ces éléments&#xa0;:</numerusform>
            <numerusform>Les lecteurs ne peuvent pas stocker %n de ces éléments&#xa0;:</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop folders of audio here,
or choose Browse</source>
        <translation>Déposez ici des dossiers audio
ou choisissez «&#xa0;Parcourir&#xa0;»</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Fichiers</translation>
    </message>
    <message>
        <source>The folders to copy, in this order. Delete removes the selected rows.</source>
        <translation>Les dossiers à copier, dans cet ordre. La touche Suppr retire les lignes sélectionnées.</translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message>
        <source>File type</source>
        <translation>Type de fichier</translation>
    </message>
    <message>
        <source>File types</source>
        <translation>Types de fichiers</translation>
    </message>
    <message>
        <source>%p%</source>
        <translation>%p&#xa0;%</translation>
    </message>
    <message>
        <source>Last run: %p %</source>
        <translation>Dernière exécution&#xa0;: %p&#xa0;%</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1&#xa0;%</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1&#xa0;%, encore %n&#xa0;min environ</numerusform>
            <numerusform>%1&#xa0;%, encore %n&#xa0;min environ</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>Éjection de %n lecteur…</numerusform>
            <numerusform>Éjection de %n lecteurs…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>Vous pouvez débrancher %1 lecteur sur %n.</numerusform>
            <numerusform>Vous pouvez débrancher %1 des %n lecteurs.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>Vous pouvez débrancher %n lecteur.</numerusform>
            <numerusform>Vous pouvez débrancher %n lecteurs.</numerusform>
        </translation>
    </message>
    <message>
        <source>Players</source>
        <translation>Lecteurs</translation>
    </message>
    <message>
        <source>Players (%1 of %2 ticked)</source>
        <translation>Lecteurs (cochés&#xa0;: %1 sur %2)</translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>Remplissage de %n lecteur. Fermez à nouveau pour arrêter.</numerusform>
            <numerusform>Remplissage de %n lecteurs. Fermez à nouveau pour arrêter.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::OpenPanel</name>
    <message>
        <source>Folder or file:</source>
        <translation>Dossier ou fichier&#xa0;:</translation>
    </message>
    <message>
        <source>Add a folder or a file (%1)</source>
        <translation>Ajouter un dossier ou un fichier (%1)</translation>
    </message>
    <message>
        <source>Parent folders</source>
        <translation>Dossiers parents</translation>
    </message>
</context>
<context>
    <name>fillstation::PlayersView</name>
    <message>
        <source>(blank)</source>
        <translation>(non formaté)</translation>
    </message>
    <message>
        <source>Slot %1</source>
        <translation>Emplacement %1</translation>
    </message>
    <message>
        <source>slow: 12 Mbit/s</source>
        <translation>lent&#xa0;: 12 Mbit/s</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>en attente</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1&#xa0;%</translation>
    </message>
    <message>
        <source>checking</source>
        <translation>vérification</translation>
    </message>
    <message>
        <source>done</source>
        <translation>terminé</translation>
    </message>
    <message>
        <source>formatting</source>
        <translation>formatage</translation>
    </message>
    <message>
        <source>✗ Failed</source>
        <translation>✗ Échec</translation>
    </message>
    <message>
        <source>✓ Filled</source>
        <translation>✓ Rempli</translation>
    </message>
    <message>
        <source>Tick the &amp;Failed</source>
        <translation>Cocher les é&amp;checs</translation>
    </message>
    <message>
        <source>Plug in a player</source>
        <translation>Branchez un lecteur</translation>
    </message>
    <message>
        <source>Tick only the failed players</source>
        <translation>Ne cocher que les lecteurs en échec</translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message>
        <source>Players are being filled</source>
        <translation>Remplissage des lecteurs en cours</translation>
    </message>
    <message>
        <source>&amp;Remove This Row</source>
        <translation>&amp;Retirer cette ligne</translation>
    </message>
    <message>
        <source>Remove &amp;Selected</source>
        <translation>Retirer la &amp;sélection</translation>
    </message>
    <message>
        <source>Remove &amp;All</source>
        <translation>Retirer &amp;tout</translation>
    </message>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>Retirer %n ligne &amp;sélectionnée</numerusform>
            <numerusform>Retirer les %n lignes &amp;sélectionnées</numerusform>
        </translation>
    </message>
</context>
</TS>
