<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<context>
    <name>CredentialsPanel</name>
    <message>
        <source>Administrator</source>
        <translation>管理员</translation>
    </message>
    <message>
        <source>Formatting them needs an administrator&apos;s name and password.</source>
        <translation>格式化需要管理员的用户名和密码。</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>用户名(&amp;U)：</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>密码(&amp;P)：</translation>
    </message>
    <message>
        <source>Caps Lock is on.</source>
        <translation>大写锁定已打开。</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>确定(&amp;O)</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>取消(&amp;C)</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Players</source>
        <translation>播放器</translation>
    </message>
    <message>
        <source>Tick all players</source>
        <translation>勾选所有播放器</translation>
    </message>
    <message>
        <source>&amp;All</source>
        <translation>全选(&amp;A)</translation>
    </message>
    <message>
        <source>Untick all players</source>
        <translation>取消勾选所有播放器</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>全不选(&amp;N)</translation>
    </message>
    <message>
        <source>Eject the ticked players</source>
        <translation>弹出已勾选的播放器</translation>
    </message>
    <message>
        <source>&amp;Eject</source>
        <translation>弹出(&amp;E)</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>File &amp;type:</source>
        <translation>文件类型(&amp;T)：</translation>
    </message>
    <message>
        <source>The extension of the files to add, without the dot</source>
        <translation>要添加的文件的扩展名，不含点号</translation>
    </message>
    <message>
        <source>Add a folder or a file of this type</source>
        <translation>添加文件夹或此类型的文件</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>浏览(&amp;B)…</translation>
    </message>
    <message>
        <source>Capacity:</source>
        <translation>容量：</translation>
    </message>
    <message>
        <source>The size of one ticked player</source>
        <translation>一台已勾选的播放器的容量</translation>
    </message>
    <message>
        <source>Space left:</source>
        <translation>剩余空间：</translation>
    </message>
    <message>
        <source>Free space after copying. A 20-digit number means that the files don&apos;t fit.</source>
        <translation>复制后的可用空间。20 位的数字表示文件放不下。</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>在浏览器中打开主页</translation>
    </message>
    <message>
        <source>Home page</source>
        <translation>主页</translation>
    </message>
    <message>
        <source>Progress of all players</source>
        <translation>所有播放器的进度</translation>
    </message>
    <message>
        <source>Players are being filled</source>
        <translation>正在向播放器写入文件</translation>
    </message>
    <message>
        <source>Format the ticked players and copy the files to them</source>
        <translation>格式化已勾选的播放器并将文件复制到其中</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>开始(&amp;S)</translation>
    </message>
</context>
<context>
    <name>fillstation::CredentialsPanel</name>
    <message>
        <source>Show the password</source>
        <translation>显示密码</translation>
    </message>
    <message>
        <source>No player is ticked.</source>
        <translation>没有勾选任何播放器。</translation>
    </message>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>文件列表为空：%n 台播放器将被擦除并保持为空。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>%n 台播放器将被擦除，并写入 %1中的文件（%2，%3）。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n 个文件夹</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n 个文件</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::FileTable</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n 字节</numerusform>
        </translation>
    </message>
    <message>
        <source>%1.%2 MB</source>
        <translation>%1.%2 MB</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>大小</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>路径</translation>
    </message>
    <message>
        <source>the name</source>
        <translation>名称</translation>
    </message>
    <message>
        <source>4 GiB or more</source>
        <translation>4 GiB 或更大</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>名称已存在</translation>
    </message>
    <message>
        <source>its folder is full</source>
        <translation>所在文件夹已满</translation>
    </message>
    <message>
        <source>no %1 files</source>
        <translation>没有 %1 文件</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n 个文件</numerusform>
        </translation>
    </message>
    <message>
        <source>A single file always fails to copy: add its folder instead.</source>
        <translation>单个文件总是复制失败：请改为添加其所在文件夹。</translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>播放器无法存储其中的 %n 个：</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop folders of audio here,
or choose Browse</source>
        <translation>将音频文件夹拖放到此处，
或选择“浏览”</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>文件</translation>
    </message>
    <message>
        <source>The folders to copy, in this order. Delete removes the selected rows.</source>
        <translation>要按此顺序复制的文件夹。Delete 键移除选中的行。</translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message>
        <source>File type</source>
        <translation>文件类型</translation>
    </message>
    <message>
        <source>File types</source>
        <translation>文件类型列表</translation>
    </message>
    <message>
        <source>%p%</source>
        <translation>%p%</translation>
    </message>
    <message>
        <source>Last run: %p %</source>
        <translation>上次运行：%p%</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1%，大约还剩 %n 分钟</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>正在弹出 %n 台播放器…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>%n 台播放器中的 %1 台可以拔下。</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>%n 台播放器可以拔下。</numerusform>
        </translation>
    </message>
    <message>
        <source>Players</source>
        <translation>播放器</translation>
    </message>
    <message>
        <source>Players (%1 of %2 ticked)</source>
        <translation>播放器（已勾选 %1 台，共 %2 台）</translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>正在向 %n 台播放器写入文件。再次关闭窗口即可停止。</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::OpenPanel</name>
    <message>
        <source>Folder or file:</source>
        <translation>文件夹或文件：</translation>
    </message>
    <message>
        <source>Add a folder or a file (%1)</source>
        <translation>添加文件夹或文件（%1）</translation>
    </message>
    <message>
        <source>Parent folders</source>
        <translation>上级文件夹</translation>
    </message>
</context>
<context>
    <name>fillstation::PlayersView</name>
    <message>
        <source>(blank)</source>
        <translation>（未格式化）</translation>
    </message>
    <message>
        <source>Slot %1</source>
        <translation>插槽 %1</translation>
    </message>
    <message>
        <source>slow: 12 Mbit/s</source>
        <translation>慢速：12 Mbit/s</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>等待中</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message>
        <source>checking</source>
        <translation>检查中</translation>
    </message>
    <message>
        <source>done</source>
        <translation>完成</translation>
    </message>
    <message>
        <source>formatting</source>
        <translation>格式化中</translation>
    </message>
    <message>
        <source>✗ Failed</source>
        <translation>✗ 失败</translation>
    </message>
    <message>
        <source>✓ Filled</source>
        <translation>✓ 已写入</translation>
    </message>
    <message>
        <source>Tick the &amp;Failed</source>
        <translation>勾选失败项(&amp;F)</translation>
    </message>
    <message>
        <source>Plug in a player</source>
        <translation>请插入播放器</translation>
    </message>
    <message>
        <source>Tick only the failed players</source>
        <translation>仅勾选失败的播放器</translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message>
        <source>Players are being filled</source>
        <translation>正在向播放器写入文件</translation>
    </message>
    <message>
        <source>&amp;Remove This Row</source>
        <translation>移除此行(&amp;R)</translation>
    </message>
    <message>
        <source>Remove &amp;Selected</source>
        <translation>移除选中的行(&amp;S)</translation>
    </message>
    <message>
        <source>Remove &amp;All</source>
        <translation>全部移除(&amp;A)</translation>
    </message>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>移除选中的 %n 行(&amp;S)</numerusform>
        </translation>
    </message>
</context>
</TS>
