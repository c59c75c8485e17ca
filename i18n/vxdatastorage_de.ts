<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>NelDataStorage</name>
    <message>
        <source>Cache object missing</source>
        <translation>Das Objekt „Cache“ fehlt</translation>
    </message>
    <message>
        <source>Invalid Cache Path</source>
        <translation>Ungültiger Cache-Pfad</translation>
    </message>
    <message>
        <source>Invalid cache size</source>
        <translation>Ungültige Cache-Größe</translation>
    </message>
</context>
<context>
    <name>VXDataStorage</name>
    <message>
        <source>Enum object missing</source>
        <translation>Das Objekt „Enum“ fehlt</translation>
    </message>
    <message>
        <source>Measures object missing</source>
        <translation>Das Objekt „Measures“ fehlt</translation>
    </message>
    <message>
        <source>PhysiscalParameter unknown :</source>
        <extracomment>What was read follows directly.</extracomment>
        <translation>Unbekannte physikalische Größe: </translation>
    </message>
    <message>
        <source>Type unknown :</source>
        <extracomment>What was read follows directly.</extracomment>
        <translation>Unbekannter Typ: </translation>
    </message>
    <message>
        <source>Unit unknown :</source>
        <extracomment>What was read follows directly.</extracomment>
        <translation>Unbekannte Einheit: </translation>
    </message>
</context>
<context>
    <name>vx_batterydata</name>
    <message>
        <source>Empty document</source>
        <translation>Leeres Dokument</translation>
    </message>
    <message>
        <source>File not found</source>
        <translation>Datei nicht gefunden</translation>
    </message>
    <message>
        <source>Root JSON object not found</source>
        <translation>Das JSON-Wurzelobjekt fehlt</translation>
    </message>
    <message>
        <source>unexpected version</source>
        <translation>Unerwartete Version</translation>
    </message>
</context>
</TS>
