<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<context>
    <name>fillstation::CredentialsPanel</name>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>The file list is empty: %n player will be erased and left empty.</numerusform>
            <numerusform>The file list is empty: %n players will be erased and left empty.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>%n player will be erased and filled from %1 (%2, %3).</numerusform>
            <numerusform>%n players will be erased and filled from %1 (%2, %3).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n folder</numerusform>
            <numerusform>%n folders</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n file</numerusform>
            <numerusform>%n files</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::FileTable</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n bytes</numerusform>
            <numerusform>%n bytes</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n file</numerusform>
            <numerusform>%n files</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>The players can&apos;t store %n of these:</numerusform>
            <numerusform>The players can&apos;t store %n of these:</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1 %, about %n min left</numerusform>
            <numerusform>%1 %, about %n min left</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>Ejecting %n player…</numerusform>
            <numerusform>Ejecting %n players…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>%1 of %n players can be unplugged.</numerusform>
            <numerusform>%1 of %n players can be unplugged.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>%n player can be unplugged.</numerusform>
            <numerusform>%n players can be unplugged.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>Filling %n player. Close again to stop.</numerusform>
            <numerusform>Filling %n players. Close again to stop.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>Remove %n &amp;Selected</numerusform>
            <numerusform>Remove %n &amp;Selected</numerusform>
        </translation>
    </message>
</context>
</TS>
