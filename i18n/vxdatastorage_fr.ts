<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>NelDataStorage</name>
    <message>
        <source>Cache object missing</source>
        <translation>L’objet « Cache » est absent</translation>
    </message>
    <message>
        <source>Invalid Cache Path</source>
        <translation>Chemin de cache non valide</translation>
    </message>
    <message>
        <source>Invalid cache size</source>
        <translation>Taille de cache non valide</translation>
    </message>
</context>
<context>
    <name>VXDataStorage</name>
    <message>
        <source>Enum object missing</source>
        <translation>L’objet « Enum » est absent</translation>
    </message>
    <message>
        <source>Measures object missing</source>
        <translation>L’objet « Measures » est absent</translation>
    </message>
    <message>
        <source>PhysiscalParameter unknown :</source>
        <extracomment>What was read follows directly.</extracomment>
        <translation>Grandeur physique inconnue : </translation>
    </message>
    <message>
        <source>Type unknown :</source>
        <extracomment>What was read follows directly.</extracomment>
        <translation>Type inconnu : </translation>
    </message>
    <message>
        <source>Unit unknown :</source>
        <extracomment>What was read follows directly.</extracomment>
        <translation>Unité inconnue : </translation>
    </message>
</context>
<context>
    <name>vx_batterydata</name>
    <message>
        <source>Empty document</source>
        <translation>Document vide</translation>
    </message>
    <message>
        <source>File not found</source>
        <translation>Fichier introuvable</translation>
    </message>
    <message>
        <source>Root JSON object not found</source>
        <translation>Objet JSON racine introuvable</translation>
    </message>
    <message>
        <source>unexpected version</source>
        <translation>Version inattendue</translation>
    </message>
</context>
</TS>
