<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="ar" sourcelanguage="en">
<context>
    <name>CredentialsPanel</name>
    <message>
        <source>Administrator</source>
        <translation>المسؤول</translation>
    </message>
    <message>
        <source>Formatting them needs an administrator&apos;s name and password.</source>
        <translation>تحتاج التهيئة إلى اسم مسؤول وكلمة مروره.</translation>
    </message>
    <message>
        <source>&amp;User name:</source>
        <translation>اسم المستخد&amp;م:</translation>
    </message>
    <message>
        <source>&amp;Password:</source>
        <translation>كلمة المرو&amp;ر:</translation>
    </message>
    <message>
        <source>Caps Lock is on.</source>
        <translation>مفتاح Caps Lock مفعّل.</translation>
    </message>
    <message>
        <source>&amp;OK</source>
        <translation>مو&amp;افق</translation>
    </message>
    <message>
        <source>&amp;Cancel</source>
        <translation>إلغا&amp;ء</translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source>Players</source>
        <translation>المشغّلات</translation>
    </message>
    <message>
        <source>Tick all players</source>
        <translation>تحديد كل المشغّلات</translation>
    </message>
    <message>
        <source>&amp;All</source>
        <translation>&amp;الكل</translation>
    </message>
    <message>
        <source>Untick all players</source>
        <translation>إلغاء تحديد كل المشغّلات</translation>
    </message>
    <message>
        <source>&amp;None</source>
        <translation>لا شي&amp;ء</translation>
    </message>
    <message>
        <source>Eject the ticked players</source>
        <translation>إخراج المشغّلات المحدّدة</translation>
    </message>
    <message>
        <source>&amp;Eject</source>
        <translation>إخرا&amp;ج</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>الملفات</translation>
    </message>
    <message>
        <source>File &amp;type:</source>
        <translation>نو&amp;ع الملف:</translation>
    </message>
    <message>
        <source>The extension of the files to add, without the dot</source>
        <translation>امتداد الملفات المراد إضافتها، بدون النقطة</translation>
    </message>
    <message>
        <source>Add a folder or a file of this type</source>
        <translation>إضافة مجلد أو ملف من هذا النوع</translation>
    </message>
    <message>
        <source>&amp;Browse…</source>
        <translation>استعرا&amp;ض…</translation>
    </message>
    <message>
        <source>Capacity:</source>
        <translation>السعة:</translation>
    </message>
    <message>
        <source>The size of one ticked player</source>
        <translation>سعة أحد المشغّلات المحدّدة</translation>
    </message>
    <message>
        <source>Space left:</source>
        <translation>المساحة المتبقية:</translation>
    </message>
    <message>
        <source>Free space after copying. A 20-digit number means that the files don&apos;t fit.</source>
        <translation>المساحة الحرة بعد النسخ. يعني العدد المكوّن من 20 رقمًا أن الملفات لا تتسع.</translation>
    </message>
    <message>
        <source>Open the home page in the browser</source>
        <translation>فتح موقع الويب في المتصفح</translation>
    </message>
    <message>
        <source>Home page</source>
        <translation>موقع الويب</translation>
    </message>
    <message>
        <source>Progress of all players</source>
        <translation>تقدّم كل المشغّلات</translation>
    </message>
    <message>
        <source>Players are being filled</source>
        <translation>تجري تعبئة المشغّلات</translation>
    </message>
    <message>
        <source>Format the ticked players and copy the files to them</source>
        <translation>تهيئة المشغّلات المحدّدة ونسخ الملفات إليها</translation>
    </message>
    <message>
        <source>&amp;Start</source>
        <translation>ابد&amp;أ</translation>
    </message>
</context>
<context>
    <name>fillstation::CredentialsPanel</name>
    <message>
        <source>Show the password</source>
        <translation>إظهار كلمة المرور</translation>
    </message>
    <message>
        <source>No player is ticked.</source>
        <translation>لم يُحدَّد أي مشغّل.</translation>
    </message>
    <message numerus="yes">
        <source>The file list is empty: %n players will be erased and left empty.</source>
        <translation>
            <numerusform>قائمة الملفات فارغة: سيُمحى %n مشغّل ويبقى فارغًا.</numerusform>
            <numerusform>قائمة الملفات فارغة: سيُمحى مشغّل واحد ويبقى فارغًا.</numerusform>
            <numerusform>قائمة الملفات فارغة: سيُمحى مشغّلان ويبقيان فارغين.</numerusform>
            <numerusform>قائمة الملفات فارغة: ستُمحى %n مشغّلات وتبقى فارغة.</numerusform>
            <numerusform>قائمة الملفات فارغة: سيُمحى %n مشغّلًا ويبقى فارغًا.</numerusform>
            <numerusform>قائمة الملفات فارغة: سيُمحى %n مشغّل ويبقى فارغًا.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players will be erased and filled from %1 (%2, %3).</source>
        <translation>
            <numerusform>سيُمحى %n مشغّل ويُعبَّأ من %1 (%2، ⁨%3⁩).</numerusform>
            <numerusform>سيُمحى مشغّل واحد ويُعبَّأ من %1 (%2، ⁨%3⁩).</numerusform>
            <numerusform>سيُمحى مشغّلان ويُعبَّآن من %1 (%2، ⁨%3⁩).</numerusform>
            <numerusform>ستُمحى %n مشغّلات وتُعبَّأ من %1 (%2، ⁨%3⁩).</numerusform>
            <numerusform>سيُمحى %n مشغّلًا ويُعبَّأ من %1 (%2، ⁨%3⁩).</numerusform>
            <numerusform>سيُمحى %n مشغّل ويُعبَّأ من %1 (%2، ⁨%3⁩).</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n folders</source>
        <comment>filled from</comment>
        <translation>
            <numerusform>%n مجلد</numerusform>
            <numerusform>مجلد واحد</numerusform>
            <numerusform>مجلدين</numerusform>
            <numerusform>%n مجلدات</numerusform>
            <numerusform>%n مجلدًا</numerusform>
            <numerusform>%n مجلد</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n ملف</numerusform>
            <numerusform>ملف واحد</numerusform>
            <numerusform>ملفان</numerusform>
            <numerusform>%n ملفات</numerusform>
            <numerusform>%n ملفًا</numerusform>
            <numerusform>%n ملف</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::FileTable</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n بايت</numerusform>
            <numerusform>%n بايت</numerusform>
            <numerusform>%n بايت</numerusform>
            <numerusform>%n بايت</numerusform>
            <numerusform>%n بايت</numerusform>
            <numerusform>%n بايت</numerusform>
        </translation>
    </message>
    <message>
        <source>%1.%2 MB</source>
        <translation>%1.%2 MB</translation>
    </message>
    <message>
        <source>Name</source>
        <translation>الاسم</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>الحجم</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>المسار</translation>
    </message>
    <message>
        <source>the name</source>
        <translation>الاسم</translation>
    </message>
    <message>
        <source>4 GiB or more</source>
        <translation>⁨4 GiB⁩ أو أكثر</translation>
    </message>
    <message>
        <source>the name exists already</source>
        <translation>الاسم موجود مسبقًا</translation>
    </message>
    <message>
        <source>its folder is full</source>
        <translation>المجلد ممتلئ</translation>
    </message>
    <message>
        <source>no %1 files</source>
        <translation>لا توجد ملفات %1</translation>
    </message>
    <message numerus="yes">
        <source>%n files</source>
        <translation>
            <numerusform>%n ملف</numerusform>
            <numerusform>ملف واحد</numerusform>
            <numerusform>ملفان</numerusform>
            <numerusform>%n ملفات</numerusform>
            <numerusform>%n ملفًا</numerusform>
            <numerusform>%n ملف</numerusform>
        </translation>
    </message>
    <message>
        <source>A single file always fails to copy: add its folder instead.</source>
        <translation>يفشل دائمًا نسخ ملف منفرد: أضف مجلده بدلًا منه.</translation>
    </message>
    <message numerus="yes">
        <source>The players can&apos;t store %n of these:</source>
        <translation>
            <numerusform>لا تستطيع المشغّلات تخزين %n منها:</numerusform>
            <numerusform>لا تستطيع المشغّلات تخزين واحد منها:</numerusform>
            <numerusform>لا تستطيع المشغّلات تخزين اثنين منها:</numerusform>
            <numerusform>لا تستطيع المشغّلات تخزين %n منها:</numerusform>
            <numerusform>لا تستطيع المشغّلات تخزين %n منها:</numerusform>
            <numerusform>لا تستطيع المشغّلات تخزين %n منها:</numerusform>
        </translation>
    </message>
    <message>
        <source>Drop folders of audio here,
or choose Browse</source>
        <translation>أفلت مجلدات الصوت هنا
أو اختر «استعراض»</translation>
    </message>
    <message>
        <source>Files</source>
        <translation>الملفات</translation>
    </message>
    <message>
        <source>The folders to copy, in this order. Delete removes the selected rows.</source>
        <translation>المجلدات المراد نسخها بهذا الترتيب. يزيل مفتاح Delete الصفوف المحدّدة.</translation>
    </message>
</context>
<context>
    <name>fillstation::MainWindow</name>
    <message>
        <source>File type</source>
        <translation>نوع الملف</translation>
    </message>
    <message>
        <source>File types</source>
        <translation>أنواع الملفات</translation>
    </message>
    <message>
        <source>%p%</source>
        <translation>%p%</translation>
    </message>
    <message>
        <source>Last run: %p %</source>
        <translation>آخر عملية: ‎%p%</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message numerus="yes">
        <source>%1 %, about %n min left</source>
        <translation>
            <numerusform>%1%، بقي نحو %n دقيقة</numerusform>
            <numerusform>%1%، بقيت دقيقة واحدة تقريبًا</numerusform>
            <numerusform>%1%، بقيت دقيقتان تقريبًا</numerusform>
            <numerusform>%1%، بقي نحو %n دقائق</numerusform>
            <numerusform>%1%، بقي نحو %n دقيقة</numerusform>
            <numerusform>%1%، بقي نحو %n دقيقة</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>Ejecting %n players…</source>
        <translation>
            <numerusform>يجري إخراج %n مشغّل…</numerusform>
            <numerusform>يجري إخراج مشغّل واحد…</numerusform>
            <numerusform>يجري إخراج مشغّلين…</numerusform>
            <numerusform>يجري إخراج %n مشغّلات…</numerusform>
            <numerusform>يجري إخراج %n مشغّلًا…</numerusform>
            <numerusform>يجري إخراج %n مشغّل…</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%1 of %n players can be unplugged.</source>
        <translation>
            <numerusform>يمكن فصل %1 من %n مشغّل.</numerusform>
            <numerusform>يمكن فصل %1 من مشغّل واحد.</numerusform>
            <numerusform>يمكن فصل %1 من مشغّلين.</numerusform>
            <numerusform>يمكن فصل %1 من %n مشغّلات.</numerusform>
            <numerusform>يمكن فصل %1 من %n مشغّلًا.</numerusform>
            <numerusform>يمكن فصل %1 من %n مشغّل.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n players can be unplugged.</source>
        <translation>
            <numerusform>يمكن فصل %n مشغّل.</numerusform>
            <numerusform>يمكن فصل مشغّل واحد.</numerusform>
            <numerusform>يمكن فصل مشغّلين.</numerusform>
            <numerusform>يمكن فصل %n مشغّلات.</numerusform>
            <numerusform>يمكن فصل %n مشغّلًا.</numerusform>
            <numerusform>يمكن فصل %n مشغّل.</numerusform>
        </translation>
    </message>
    <message>
        <source>Players</source>
        <translation>المشغّلات</translation>
    </message>
    <message>
        <source>Players (%1 of %2 ticked)</source>
        <translation>المشغّلات (المحدّد %1 من %2)</translation>
    </message>
    <message numerus="yes">
        <source>Filling %n players. Close again to stop.</source>
        <translation>
            <numerusform>تجري تعبئة %n مشغّل. أغلق مرة أخرى للإيقاف.</numerusform>
            <numerusform>تجري تعبئة مشغّل واحد. أغلق مرة أخرى للإيقاف.</numerusform>
            <numerusform>تجري تعبئة مشغّلين. أغلق مرة أخرى للإيقاف.</numerusform>
            <numerusform>تجري تعبئة %n مشغّلات. أغلق مرة أخرى للإيقاف.</numerusform>
            <numerusform>تجري تعبئة %n مشغّلًا. أغلق مرة أخرى للإيقاف.</numerusform>
            <numerusform>تجري تعبئة %n مشغّل. أغلق مرة أخرى للإيقاف.</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>fillstation::OpenPanel</name>
    <message>
        <source>Folder or file:</source>
        <translation>المجلد أو الملف:</translation>
    </message>
    <message>
        <source>Add a folder or a file (%1)</source>
        <translation>إضافة مجلد أو ملف (%1)</translation>
    </message>
    <message>
        <source>Parent folders</source>
        <translation>المجلدات الأصل</translation>
    </message>
</context>
<context>
    <name>fillstation::PlayersView</name>
    <message>
        <source>(blank)</source>
        <translation>(غير مهيّأ)</translation>
    </message>
    <message>
        <source>Slot %1</source>
        <translation>⁨الفتحة %1⁩</translation>
    </message>
    <message>
        <source>slow: 12 Mbit/s</source>
        <translation>⁧بطيء: ⁨12 Mbit/s⁩⁩</translation>
    </message>
    <message>
        <source>waiting</source>
        <translation>في الانتظار</translation>
    </message>
    <message>
        <source>%1 %</source>
        <translation>%1%</translation>
    </message>
    <message>
        <source>checking</source>
        <translation>يجري التحقق</translation>
    </message>
    <message>
        <source>done</source>
        <translation>تم</translation>
    </message>
    <message>
        <source>formatting</source>
        <translation>تجري التهيئة</translation>
    </message>
    <message>
        <source>✗ Failed</source>
        <translation>✗ فشل</translation>
    </message>
    <message>
        <source>✓ Filled</source>
        <translation>✓ تمت التعبئة</translation>
    </message>
    <message>
        <source>Tick the &amp;Failed</source>
        <translation>تحديد المشغّلا&amp;ت الفاشلة</translation>
    </message>
    <message>
        <source>Plug in a player</source>
        <translation>وصّل مشغّلًا</translation>
    </message>
    <message>
        <source>Tick only the failed players</source>
        <translation>تحديد المشغّلات الفاشلة فقط</translation>
    </message>
</context>
<context>
    <name>fillstation::TRAppDelegate</name>
    <message>
        <source>Players are being filled</source>
        <translation>تجري تعبئة المشغّلات</translation>
    </message>
    <message>
        <source>&amp;Remove This Row</source>
        <translation>إ&amp;زالة هذا الصف</translation>
    </message>
    <message>
        <source>Remove &amp;Selected</source>
        <translation>&amp;إزالة المحدّد</translation>
    </message>
    <message>
        <source>Remove &amp;All</source>
        <translation>إزالة &amp;الكل</translation>
    </message>
    <message numerus="yes">
        <source>Remove %n &amp;Selected</source>
        <translation>
            <numerusform>&amp;إزالة %n صف محدّد</numerusform>
            <numerusform>&amp;إزالة الصف المحدّد</numerusform>
            <numerusform>&amp;إزالة الصفين المحدّدين</numerusform>
            <numerusform>&amp;إزالة %n صفوف محدّدة</numerusform>
            <numerusform>&amp;إزالة %n صفًا محدّدًا</numerusform>
            <numerusform>&amp;إزالة %n صف محدّد</numerusform>
        </translation>
    </message>
</context>
</TS>
