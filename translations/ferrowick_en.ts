<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>ZKByteCountFormatter</name>
    <message numerus="yes">
        <source>%n bytes</source>
        <translation>
            <numerusform>%n byte</numerusform>
            <numerusform>%n bytes</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKCommandLine</name>
    <message numerus="yes">
        <source>%n task entries of &quot;%1&quot; cannot be read and are kept unread; %2</source>
        <translation>
            <numerusform>%n task entry of &quot;%1&quot; cannot be read and is kept unread; %2</numerusform>
            <numerusform>%n task entries of &quot;%1&quot; cannot be read and are kept unread; %2</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKCopyTask</name>
    <message numerus="yes">
        <source>%1 of %n files</source>
        <translation>
            <numerusform>%1 of %Ln file</numerusform>
            <numerusform>%1 of %Ln files</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKPreferencesWindow</name>
    <message numerus="yes">
        <source>%n hours</source>
        <translation>
            <numerusform>%n hour</numerusform>
            <numerusform>%n hours</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n minutes</source>
        <translation>
            <numerusform>%n minute</numerusform>
            <numerusform>%n minutes</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n seconds</source>
        <translation>
            <numerusform>%n second</numerusform>
            <numerusform>%n seconds</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKProgressPrinter</name>
    <message numerus="yes">
        <source>%n more tasks not shown</source>
        <translation>
            <numerusform>%n more task not shown</numerusform>
            <numerusform>%n more tasks not shown</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKQueueRunner</name>
    <message numerus="yes">
        <source>Retrying %n failed tasks in %1 (attempt %2 of %3)</source>
        <translation>
            <numerusform>Retrying %n failed task in %1 (attempt %2 of %3)</numerusform>
            <numerusform>Retrying %n failed tasks in %1 (attempt %2 of %3)</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKQueueWindow</name>
    <message numerus="yes">
        <source>And %n more.</source>
        <translation>
            <numerusform>And %n more.</numerusform>
            <numerusform>And %n more.</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n items were not added:</source>
        <translation>
            <numerusform>%n item was not added:</numerusform>
            <numerusform>%n items were not added:</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKTaskView</name>
    <message numerus="yes">
        <source> and %n other files</source>
        <translation>
            <numerusform> and %n other file</numerusform>
            <numerusform> and %n other files</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>ZKTimeFormatter</name>
    <message numerus="yes">
        <source>about %n seconds</source>
        <translation>
            <numerusform>about a second</numerusform>
            <numerusform>about %n seconds</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>about %n minutes</source>
        <translation>
            <numerusform>about a minute</numerusform>
            <numerusform>about %n minutes</numerusform>
        </translation>
    </message>
</context>
</TS>
