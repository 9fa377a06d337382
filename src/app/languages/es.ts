<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es" sourcelanguage="en">
<context>
    <name>CredentialsPanel</name>
    <message>
        <source>Administrator</source>
        <translation>Administrador</translation>
    </message>
    <message>
        <source>Formatting them needs an administrator&apos;s name and password.</source>
        <translation>Para formatear se necesitan el nombre y la contraseña de un administrador.</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>&amp;Usuario:</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>&amp;Contraseña:</translation>
    </message>
    <message>
        <source>Caps Lock is on.</source>
        <translation>El bloqueo de mayúsculas está activado.</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;Aceptar</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>Ca&amp;ncelar</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Players</source>
        <translation>Reproductores</translation>
    </message>
    <message>
        <source>Tick all players</source>
        <translation>Marcar todos los reproductores</translation>
    </message>
    <message>
        <source>&amp;All</source>
        <translation>&amp;Todos</translation>
    </message>
    <message>
        <source>Untick all players</source>
        <translation>Desmarcar todos los reproductores</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>&amp;Ninguno</translation>
    </message>
    <message>
        <source>Eject the ticked players</source>
        <translation>Expulsar los reproductores marcados</translation>
    </message>
    <message>
        <source>&amp;Eject</source>
        <translation>&amp;Expulsar</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Archivos</translation>
    </message>
    <message>
        <source>File &amp;type:</source>
        <translation>Ti&amp;po de archivo:</translation>
    </message>
    <message>
        <source>The extension of the files to add, without the dot</source>
        <translation>La extensión de los archivos que se van a añadir, sin el punto</translation>
    </message>
    <message>
        <source>Add a folder or a file of this type</source>
        <translation>Añadir una carpeta o un archivo de este tipo</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>E&amp;xaminar…</translation>
    </message>
    <message>
        <source>Capacity:</source>
        <translation>Capacidad:</translation>
    </message>
    <message>
        <source>The size of one ticked player</source>
        <translation>La capacidad de uno de los reproductores marcados</translation>
    </message>
    <message>
        <source>Space left:</source>
        <translation>Espacio restante:</translation>
    </message>
    <message>
        <source>Free space after copying. A 20-digit number means that the files don&apos;t fit.</source>
        <translation>Espacio libre después de copiar. Un número de 20 cifras significa que los archivos no caben.</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>Abrir el sitio web en el navegador</translation>
    </message>
    <message>
        <source>Home page</source>
        <translation>Sitio web</translation>
    </message>
    <message>
        <source>Progress of all players</source>
        <translation>Progreso de todos los reproductores</translation>
    </message>
    <message>
        <source>Players are being filled</source>
        <translation>Se están llenando los reproductores</translation>
    </message>
    <message>
        <source>Format the ticked players and copy the files to them</source>
        <translation>Formatear los reproductores marcados y copiar los archivos en ellos</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>&amp;Iniciar</translation>
    </message>
</context>
<context>
    <name>fillstation::CredentialsPanel</name>
    <message>
        <source>Show the password</source>
        <translation>Mostrar la contraseña</translation>
    </message>
    <message>
        <source>No player is ticked.</source>
        <translation>No hay ningún reproductor marcado.</translation>
    </message>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>La lista de archivos está vacía: se borrará %n reproductor y quedará vacío.</numerusform>
            <numerusform>La lista de archivos está vacía: se borrarán %n reproductores y quedarán vacíos.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>Se borrará %n reproductor y se llenará con el contenido de %1 (%2, %3).</numerusform>
            <numerusform>Se borrarán %n reproductores y se llenarán con el contenido de %1 (%2, %3).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n carpeta</numerusform>
            <numerusform>%n carpetas</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n archivo</numerusform>
            <numerusform>%n archivos</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::FileTable</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n byte</numerusform>
            <numerusform>%n bytes</numerusform>
        </translation>
    </message>
    <message>
        <source>%1.%2 MB</source>
        <translation>%1,%2 MB</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>Nombre</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Tamaño</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Ruta</translation>
    </message>
    <message>
        <source>the name</source>
        <translation>el nombre</translation>
    </message>
    <message>
        <source>4 GiB or more</source>
        <translation>4 GiB o más</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>el nombre ya existe</translation>
    </message>
    <message>
        <source>its folder is full</source>
        <translation>su carpeta está llena</translation>
    </message>
    <message>
        <source>no %1 files</source>
        <translation>sin archivos %1</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n archivo</numerusform>
            <numerusform>%n archivos</numerusform>
        </translation>
    </message>
    <message>
        <source>A single file always fails to copy: add its folder instead.</source>
        <translation>La copia de un archivo suelto siempre falla: añada en su lugar la carpeta que lo contiene.</translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>Los reproductores no pueden guardar %n de estos elementos:</numerusform>
            <numerusform>Los reproductores no pueden guardar %n de estos elementos:</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop folders of audio here,
or choose Browse</source>
        <translation>Arrastre aquí carpetas de audio
o elija «Examinar»</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Archivos</translation>
    </message>
    <message>
        <source>The folders to copy, in this order. Delete removes the selected rows.</source>
        <translation>Las carpetas que se copian, en este orden. La tecla Supr quita las filas seleccionadas.</translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message>
        <source>File type</source>
        <translation>Tipo de archivo</translation>
    </message>
    <message>
        <source>File types</source>
        <translation>Tipos de archivo</translation>
    </message>
    <message>
        <source>%p%</source>
        <translation>%p&#xa0;%</translation>
    </message>
    <message>
        <source>Last run: %p %</source>
        <translation>Última ejecución: %p&#xa0;%</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1&#xa0;%</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1&#xa0;%, queda %n&#xa0;min aproximadamente</numerusform>
            <numerusform>%1&#xa0;%, quedan unos %n&#xa0;min</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>Expulsando %n reproductor…</numerusform>
            <numerusform>Expulsando %n reproductores…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>Puede desconectar %1 de %n reproductor.</numerusform>
            <numerusform>Puede desconectar %1 de %n reproductores.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>Puede desconectar %n reproductor.</numerusform>
            <numerusform>Puede desconectar %n reproductores.</numerusform>
        </translation>
    </message>
    <message>
        <source>Players</source>
        <translation>Reproductores</translation>
    </message>
    <message>
        <source>Players (%1 of %2 ticked)</source>
        <translation>Reproductores (marcados: %1 de %2)</translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>Llenando %n reproductor. Cierre otra vez para detener el proceso.</numerusform>
            <numerusform>Llenando %n reproductores. Cierre otra vez para detener el proceso.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::OpenPanel</name>
    <message>
        <source>Folder or file:</source>
        <translation>Carpeta o archivo:</translation>
    </message>
    <message>
        <source>Add a folder or a file (%1)</source>
        <translation>Añadir una carpeta o un archivo (%1)</translation>
    </message>
    <message>
        <source>Parent folders</source>
        <translation>Carpetas superiores</translation>
    </message>
</context>
<context>
    <name>fillstation::PlayersView</name>
    <message>
        <source>(blank)</source>
        <translation>(sin formato)</translation>
    </message>
    <message>
        <source>Slot %1</source>
        <translation>Ranura %1</translation>
    </message>
    <message>
        <source>slow: 12 Mbit/s</source>
        <translation>lento: 12 Mbit/s</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>en espera</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1&#xa0;%</translation>
    </message>
    <message>
        <source>checking</source>
        <translation>comprobando</translation>
    </message>
    <message>
        <source>done</source>
        <translation>listo</translation>
    </message>
    <message>
        <source>formatting</source>
        <translation>formateando</translation>
    </message>
    <message>
        <source>✗ Failed</source>
        <translation>✗ Fallido</translation>
    </message>
    <message>
        <source>✓ Filled</source>
        <translation>✓ Llenado</translation>
    </message>
    <message>
        <source>Tick the &amp;Failed</source>
        <translation>Marcar los &amp;fallidos</translation>
    </message>
    <message>
        <source>Plug in a player</source>
        <translation>Conecte un reproductor</translation>
    </message>
    <message>
        <source>Tick only the failed players</source>
        <translation>Marcar solo los reproductores fallidos</translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message>
        <source>Players are being filled</source>
        <translation>Se están llenando los reproductores</translation>
    </message>
    <message>
        <source>&amp;Remove This Row</source>
        <translation>&amp;Quitar esta fila</translation>
    </message>
    <message>
        <source>Remove &amp;Selected</source>
        <translation>Quitar la &amp;selección</translation>
    </message>
    <message>
        <source>Remove &amp;All</source>
        <translation>Quitar &amp;todo</translation>
    </message>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>Quitar %n fila &amp;seleccionada</numerusform>
            <numerusform>Quitar %n filas &amp;seleccionadas</numerusform>
        </translation>
    </message>
</context>
</TS>
