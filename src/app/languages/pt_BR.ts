<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="pt_BR" sourcelanguage="en">
<context>
    <name>CredentialsPanel</name>
    <message>
        <source>Administrator</source>
        <translation>Administrador</translation>
    </message>
    <message>
        <source>Formatting them needs an administrator&apos;s name and password.</source>
        <translation>Para formatar, são necessários o nome e a senha de um administrador.</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>&amp;Usuário:</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>&amp;Senha:</translation>
    </message>
    <message>
        <source>Caps Lock is on.</source>
        <translation>O Caps Lock está ativado.</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>&amp;OK</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>&amp;Cancelar</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Players</source>
        <translation>Reprodutores</translation>
    </message>
    <message>
        <source>Tick all players</source>
        <translation>Marcar todos os reprodutores</translation>
    </message>
    <message>
        <source>&amp;All</source>
        <translation>&amp;Todos</translation>
    </message>
    <message>
        <source>Untick all players</source>
        <translation>Desmarcar todos os reprodutores</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>&amp;Nenhum</translation>
    </message>
    <message>
        <source>Eject the ticked players</source>
        <translation>Ejetar os reprodutores marcados</translation>
    </message>
    <message>
        <source>&amp;Eject</source>
        <translation>&amp;Ejetar</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Arquivos</translation>
    </message>
    <message>
        <source>File &amp;type:</source>
        <translation>Tipo de arqui&amp;vo:</translation>
    </message>
    <message>
        <source>The extension of the files to add, without the dot</source>
        <translation>A extensão dos arquivos a adicionar, sem o ponto</translation>
    </message>
    <message>
        <source>Add a folder or a file of this type</source>
        <translation>Adicionar uma pasta ou um arquivo deste tipo</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>&amp;Procurar…</translation>
    </message>
    <message>
        <source>Capacity:</source>
        <translation>Capacidade:</translation>
    </message>
    <message>
        <source>The size of one ticked player</source>
        <translation>A capacidade de um dos reprodutores marcados</translation>
    </message>
    <message>
        <source>Space left:</source>
        <translation>Espaço restante:</translation>
    </message>
    <message>
        <source>Free space after copying. A 20-digit number means that the files don&apos;t fit.</source>
        <translation>Espaço livre após a cópia. Um número de 20 dígitos significa que os arquivos não cabem.</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>Abrir o site no navegador</translation>
    </message>
    <message>
        <source>Home page</source>
        <translation>Site</translation>
    </message>
    <message>
        <source>Progress of all players</source>
        <translation>Progresso de todos os reprodutores</translation>
    </message>
    <message>
        <source>Players are being filled</source>
        <translation>Os reprodutores estão sendo preenchidos</translation>
    </message>
    <message>
        <source>Format the ticked players and copy the files to them</source>
        <translation>Formatar os reprodutores marcados e copiar os arquivos para eles</translation>
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
        <translation>Mostrar a senha</translation>
    </message>
    <message>
        <source>No player is ticked.</source>
        <translation>Nenhum reprodutor está marcado.</translation>
    </message>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>A lista de arquivos está vazia: %n reprodutor será apagado e ficará vazio.</numerusform>
            <numerusform>A lista de arquivos está vazia: %n reprodutores serão apagados e ficarão vazios.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>%n reprodutor será apagado e preenchido com o conteúdo de %1 (%2, %3).</numerusform>
            <numerusform>%n reprodutores serão apagados e preenchidos com o conteúdo de %1 (%2, %3).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n pasta</numerusform>
            <numerusform>%n pastas</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n arquivo</numerusform>
            <numerusform>%n arquivos</numerusform>
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
        <translation>Nome</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Tamanho</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Caminho</translation>
    </message>
    <message>
        <source>the name</source>
        <translation>o nome</translation>
    </message>
    <message>
        <source>4 GiB or more</source>
        <translation>4 GiB ou mais</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>o nome já existe</translation>
    </message>
    <message>
        <source>its folder is full</source>
        <translation>a pasta está cheia</translation>
    </message>
    <message>
        <source>no %1 files</source>
        <translation>nenhum arquivo %1</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n arquivo</numerusform>
            <numerusform>%n arquivos</numerusform>
        </translation>
    </message>
    <message>
        <source>A single file always fails to copy: add its folder instead.</source>
        <translation>A cópia de um arquivo avulso sempre falha: em vez disso, adicione a pasta que o contém.</translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>Os reprodutores não conseguem armazenar %n destes itens:</numerusform>
            <numerusform>Os reprodutores não conseguem armazenar %n destes itens:</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop folders of audio here,
or choose Browse</source>
        <translation>Arraste pastas de áudio para cá
ou escolha “Procurar”</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>Arquivos</translation>
    </message>
    <message>
        <source>The folders to copy, in this order. Delete removes the selected rows.</source>
        <translation>As pastas a copiar, nesta ordem. A tecla Delete remove as linhas selecionadas.</translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message>
        <source>File type</source>
        <translation>Tipo de arquivo</translation>
    </message>
    <message>
        <source>File types</source>
        <translation>Tipos de arquivo</translation>
    </message>
    <message>
        <source>%p%</source>
        <translation>%p%</translation>
    </message>
    <message>
        <source>Last run: %p %</source>
        <translation>Última execução: %p%</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1%, falta cerca de %n min</numerusform>
            <numerusform>%1%, faltam cerca de %n min</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>Ejetando %n reprodutor…</numerusform>
            <numerusform>Ejetando %n reprodutores…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>Você pode desconectar %1 de %n reprodutor.</numerusform>
            <numerusform>Você pode desconectar %1 de %n reprodutores.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>Você pode desconectar %n reprodutor.</numerusform>
            <numerusform>Você pode desconectar %n reprodutores.</numerusform>
        </translation>
    </message>
    <message>
        <source>Players</source>
        <translation>Reprodutores</translation>
    </message>
    <message>
        <source>Players (%1 of %2 ticked)</source>
        <translation>Reprodutores (marcados: %1 de %2)</translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>Preenchendo %n reprodutor. Feche de novo para interromper.</numerusform>
            <numerusform>Preenchendo %n reprodutores. Feche de novo para interromper.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::OpenPanel</name>
    <message>
        <source>Folder or file:</source>
        <translation>Pasta ou arquivo:</translation>
    </message>
    <message>
        <source>Add a folder or a file (%1)</source>
        <translation>Adicionar uma pasta ou um arquivo (%1)</translation>
    </message>
    <message>
        <source>Parent folders</source>
        <translation>Pastas superiores</translation>
    </message>
</context>
<context>
    <name>fillstation::PlayersView</name>
    <message>
        <source>(blank)</source>
        <translation>(não formatado)</translation>
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
        <translation>aguardando</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message>
        <source>checking</source>
        <translation>verificando</translation>
    </message>
    <message>
        <source>done</source>
        <translation>concluído</translation>
    </message>
    <message>
        <source>formatting</source>
        <translation>formatando</translation>
    </message>
    <message>
        <source>✗ Failed</source>
        <translation>✗ Falhou</translation>
    </message>
    <message>
        <source>✓ Filled</source>
        <translation>✓ Preenchido</translation>
    </message>
    <message>
        <source>Tick the &amp;Failed</source>
        <translation>Marcar os que &amp;falharam</translation>
    </message>
    <message>
        <source>Plug in a player</source>
        <translation>Conecte um reprodutor</translation>
    </message>
    <message>
        <source>Tick only the failed players</source>
        <translation>Marcar somente os reprodutores que falharam</translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message>
        <source>Players are being filled</source>
        <translation>Os reprodutores estão sendo preenchidos</translation>
    </message>
    <message>
        <source>&amp;Remove This Row</source>
        <translation>&amp;Remover esta linha</translation>
    </message>
    <message>
        <source>Remove &amp;Selected</source>
        <translation>Remover &amp;selecionadas</translation>
    </message>
    <message>
        <source>Remove &amp;All</source>
        <translation>Remover &amp;tudo</translation>
    </message>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>Remover %n linha &amp;selecionada</numerusform>
            <numerusform>Remover %n linhas &amp;selecionadas</numerusform>
        </translation>
    </message>
</context>
</TS>
