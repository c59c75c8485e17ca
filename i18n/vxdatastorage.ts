<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" sourcelanguage="en">
<context>
    <name>NelDataStorage</name>
    <message>
        <source>Cache object missing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid Cache Path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Invalid cache size</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>VXDataStorage</name>
    <message>
        <source>Enum object missing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Measures object missing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>PhysiscalParameter unknown :</source>
        <extracomment>What was read follows directly.</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Type unknown :</source>
        <extracomment>What was read follows directly.</extracomment>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unit unknown :</source>
        <extracomment>What was read follows directly.</extracomment>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>vx_batterydata</name>
    <message>
        <source>Empty document</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File not found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Root JSON object not found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>unexpected version</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
