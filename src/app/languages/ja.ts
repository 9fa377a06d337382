<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ja" sourcelanguage="en">
<context>
    <name>CredentialsPanel</name>
    <message>
        <source>Administrator</source>
        <translation>管理者</translation>
    </message>
    <message>
        <source>Formatting them needs an administrator&apos;s name and password.</source>
        <translation>フォーマットには管理者のユーザー名とパスワードが必要です。</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>ユーザー名(&amp;U):</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>パスワード(&amp;P):</translation>
    </message>
    <message>
        <source>Caps Lock is on.</source>
        <translation>Caps Lock がオンになっています。</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>OK(&amp;O)</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>キャンセル(&amp;C)</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Players</source>
        <translation>プレーヤー</translation>
    </message>
    <message>
        <source>Tick all players</source>
        <translation>すべてのプレーヤーを選択します</translation>
    </message>
    <message>
        <source>&amp;All</source>
        <translation>すべて選択(&amp;A)</translation>
    </message>
    <message>
        <source>Untick all players</source>
        <translation>すべてのプレーヤーの選択を解除します</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>選択解除(&amp;N)</translation>
    </message>
    <message>
        <source>Eject the ticked players</source>
        <translation>選択したプレーヤーを取り出します</translation>
    </message>
    <message>
        <source>&amp;Eject</source>
        <translation>取り出し(&amp;E)</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>ファイル</translation>
    </message>
    <message>
        <source>File &amp;type:</source>
        <translation>ファイルの種類(&amp;T):</translation>
    </message>
    <message>
        <source>The extension of the files to add, without the dot</source>
        <translation>追加するファイルの拡張子 (ドットなし)</translation>
    </message>
    <message>
        <source>Add a folder or a file of this type</source>
        <translation>フォルダーまたはこの種類のファイルを追加します</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>参照(&amp;B)…</translation>
    </message>
    <message>
        <source>Capacity:</source>
        <translation>容量:</translation>
    </message>
    <message>
        <source>The size of one ticked player</source>
        <translation>選択したプレーヤー 1 台の容量</translation>
    </message>
    <message>
        <source>Space left:</source>
        <translation>残り容量:</translation>
    </message>
    <message>
        <source>Free space after copying. A 20-digit number means that the files don&apos;t fit.</source>
        <translation>コピー後の空き容量。20 桁の数値は、ファイルが入りきらないことを示します。</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>ホームページをブラウザーで開きます</translation>
    </message>
    <message>
        <source>Home page</source>
        <translation>ホームページ</translation>
    </message>
    <message>
        <source>Progress of all players</source>
        <translation>全プレーヤーの進行状況</translation>
    </message>
    <message>
        <source>Players are being filled</source>
        <translation>プレーヤーに書き込んでいます</translation>
    </message>
    <message>
        <source>Format the ticked players and copy the files to them</source>
        <translation>選択したプレーヤーをフォーマットし、ファイルをコピーします</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>開始(&amp;S)</translation>
    </message>
</context>
<context>
    <name>fillstation::CredentialsPanel</name>
    <message>
        <source>Show the password</source>
        <translation>パスワードを表示</translation>
    </message>
    <message>
        <source>No player is ticked.</source>
        <translation>プレーヤーが選択されていません。</translation>
    </message>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>ファイルの一覧が空です。%n 台のプレーヤーが消去され、空のままになります。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>%n 台のプレーヤーが消去され、%1の内容が書き込まれます (%2、%3)。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n 個のフォルダー</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n 個のファイル</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::FileTable</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n バイト</numerusform>
        </translation>
    </message>
    <message>
        <source>%1.%2 MB</source>
        <translation>%1.%2 MB</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名前</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>サイズ</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>パス</translation>
    </message>
    <message>
        <source>the name</source>
        <translation>名前</translation>
    </message>
    <message>
        <source>4 GiB or more</source>
        <translation>4 GiB 以上</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>同じ名前がすでにあります</translation>
    </message>
    <message>
        <source>its folder is full</source>
        <translation>フォルダーがいっぱいです</translation>
    </message>
    <message>
        <source>no %1 files</source>
        <translation>%1 ファイルなし</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n 個のファイル</numerusform>
        </translation>
    </message>
    <message>
        <source>A single file always fails to copy: add its folder instead.</source>
        <translation>単独のファイルのコピーは必ず失敗します。代わりにそのフォルダーを追加してください。</translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>このうち %n 個はプレーヤーに保存できません:</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop folders of audio here,
or choose Browse</source>
        <translation>オーディオのフォルダーをここにドロップするか、
[参照] を選んでください</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>ファイル</translation>
    </message>
    <message>
        <source>The folders to copy, in this order. Delete removes the selected rows.</source>
        <translation>コピーするフォルダーの一覧 (この順にコピー)。Delete キーで選択した行を一覧から削除します。</translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message>
        <source>File type</source>
        <translation>ファイルの種類</translation>
    </message>
    <message>
        <source>File types</source>
        <translation>ファイルの種類の一覧</translation>
    </message>
    <message>
        <source>%p%</source>
        <translation>%p%</translation>
    </message>
    <message>
        <source>Last run: %p %</source>
        <translation>前回の実行: %p%</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1%、残り約 %n 分</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>%n 台のプレーヤーを取り出しています…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>%n 台中 %1 台のプレーヤーを取り外せます。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>%n 台のプレーヤーを取り外せます。</numerusform>
        </translation>
    </message>
    <message>
        <source>Players</source>
        <translation>プレーヤー</translation>
    </message>
    <message>
        <source>Players (%1 of %2 ticked)</source>
        <translation>プレーヤー (%2 台中 %1 台を選択)</translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>%n 台に書き込み中です。中止するにはもう一度閉じてください。</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::OpenPanel</name>
    <message>
        <source>Folder or file:</source>
        <translation>フォルダーまたはファイル:</translation>
    </message>
    <message>
        <source>Add a folder or a file (%1)</source>
        <translation>フォルダーまたはファイルを追加 (%1)</translation>
    </message>
    <message>
        <source>Parent folders</source>
        <translation>親フォルダー</translation>
    </message>
</context>
<context>
    <name>fillstation::PlayersView</name>
    <message>
        <source>(blank)</source>
        <translation>(未フォーマット)</translation>
    </message>
    <message>
        <source>Slot %1</source>
        <translation>スロット %1</translation>
    </message>
    <message>
        <source>slow: 12 Mbit/s</source>
        <translation>低速: 12 Mbit/s</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>待機中</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message>
        <source>checking</source>
        <translation>確認中</translation>
    </message>
    <message>
        <source>done</source>
        <translation>完了</translation>
    </message>
    <message>
        <source>formatting</source>
        <translation>フォーマット中</translation>
    </message>
    <message>
        <source>✗ Failed</source>
        <translation>✗ 失敗</translation>
    </message>
    <message>
        <source>✓ Filled</source>
        <translation>✓ 書き込み済み</translation>
    </message>
    <message>
        <source>Tick the &amp;Failed</source>
        <translation>失敗したものを選択(&amp;F)</translation>
    </message>
    <message>
        <source>Plug in a player</source>
        <translation>プレーヤーを接続してください</translation>
    </message>
    <message>
        <source>Tick only the failed players</source>
        <translation>失敗したプレーヤーだけを選択します</translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message>
        <source>Players are being filled</source>
        <translation>プレーヤーに書き込んでいます</translation>
    </message>
    <message>
        <source>&amp;Remove This Row</source>
        <translation>この行を一覧から削除(&amp;R)</translation>
    </message>
    <message>
        <source>Remove &amp;Selected</source>
        <translation>選択した行を一覧から削除(&amp;S)</translation>
    </message>
    <message>
        <source>Remove &amp;All</source>
        <translation>すべて一覧から削除(&amp;A)</translation>
    </message>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>選択した %n 行を一覧から削除(&amp;S)</numerusform>
        </translation>
    </message>
</context>
</TS>
