<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>Measures_Battery_cell_Name</name>
    <message>
        <source>Open-circuit voltage</source>
        <translation>Leerlaufspannung</translation>
    </message>
    <message>
        <source>State of charge</source>
        <translation>Ladezustand</translation>
    </message>
</context>
<context>
    <name>Measures_Battery_cell_PhysicalParameter</name>
    <message>
        <source>Voltage</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Voltage</translation>
    </message>
    <message>
        <source>Ratio</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Ratio</translation>
    </message>
</context>
<context>
    <name>Measures_Battery_cell_Type</name>
    <message>
        <source>FLOAT</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>FLOAT</translation>
    </message>
</context>
<context>
    <name>Measures_Battery_cell_Unit</name>
    <message>
        <source>V</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>V</translation>
    </message>
    <message>
        <source>-</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>-</translation>
    </message>
</context>
</TS>
