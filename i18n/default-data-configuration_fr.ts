<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
<context>
    <name>Measures_Cycling_Name</name>
    <message>
        <source>Time</source>
        <translation>Temps</translation>
    </message>
    <message>
        <source>Voltage</source>
        <translation>Tension</translation>
    </message>
    <message>
        <source>Current</source>
        <translation>Courant</translation>
    </message>
    <message>
        <source>Charge</source>
        <translation>Charge</translation>
    </message>
    <message>
        <source>Energy</source>
        <translation>Énergie</translation>
    </message>
    <message>
        <source>Power</source>
        <translation>Puissance</translation>
    </message>
    <message>
        <source>Temperature</source>
        <translation>Température</translation>
    </message>
    <message>
        <source>State of charge</source>
        <translation>État de charge</translation>
    </message>
    <message>
        <source>C rate</source>
        <translation>Régime C</translation>
    </message>
    <message>
        <source>Resistance</source>
        <translation>Résistance</translation>
    </message>
    <message>
        <source>Cycle</source>
        <translation>Cycle</translation>
    </message>
    <message>
        <source>Step</source>
        <translation>Étape</translation>
    </message>
</context>
<context>
    <name>Measures_Cycling_PhysicalParameter</name>
    <message>
        <source>Time</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Time</translation>
    </message>
    <message>
        <source>Voltage</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Voltage</translation>
    </message>
    <message>
        <source>Electric Current</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Electric Current</translation>
    </message>
    <message>
        <source>Electric charge</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Electric charge</translation>
    </message>
    <message>
        <source>Energy</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Energy</translation>
    </message>
    <message>
        <source>Power</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Power</translation>
    </message>
    <message>
        <source>Temperature</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Temperature</translation>
    </message>
    <message>
        <source>Ratio</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Ratio</translation>
    </message>
    <message>
        <source>Resistance</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Resistance</translation>
    </message>
</context>
<context>
    <name>Measures_Cycling_Type</name>
    <message>
        <source>FLOAT</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>FLOAT</translation>
    </message>
    <message>
        <source>INT</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>INT</translation>
    </message>
</context>
<context>
    <name>Measures_Cycling_Unit</name>
    <message>
        <source>s</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>s</translation>
    </message>
    <message>
        <source>V</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>V</translation>
    </message>
    <message>
        <source>A</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>A</translation>
    </message>
    <message>
        <source>A.h</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>A.h</translation>
    </message>
    <message>
        <source>W.h</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>W.h</translation>
    </message>
    <message>
        <source>W</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>W</translation>
    </message>
    <message>
        <source>°C</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>°C</translation>
    </message>
    <message>
        <source>-</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>-</translation>
    </message>
    <message>
        <source>Ω</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Ω</translation>
    </message>
</context>
<context>
    <name>Measures_Impedance_Name</name>
    <message>
        <source>Frequency</source>
        <translation>Fréquence</translation>
    </message>
    <message>
        <source>Re(Z)</source>
        <translation>Re(Z)</translation>
    </message>
    <message>
        <source>-Im(Z)</source>
        <translation>-Im(Z)</translation>
    </message>
    <message>
        <source>Im(Z)</source>
        <translation>Im(Z)</translation>
    </message>
    <message>
        <source>|Z|</source>
        <translation>|Z|</translation>
    </message>
    <message>
        <source>Phase</source>
        <translation>Phase</translation>
    </message>
</context>
<context>
    <name>Measures_Impedance_PhysicalParameter</name>
    <message>
        <source>Frequency</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Frequency</translation>
    </message>
    <message>
        <source>Resistance</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Resistance</translation>
    </message>
    <message>
        <source>Angle</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Angle</translation>
    </message>
</context>
<context>
    <name>Measures_Impedance_Type</name>
    <message>
        <source>FLOAT</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>FLOAT</translation>
    </message>
</context>
<context>
    <name>Measures_Impedance_Unit</name>
    <message>
        <source>Hz</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Hz</translation>
    </message>
    <message>
        <source>Ω</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>Ω</translation>
    </message>
    <message>
        <source>deg</source>
        <extracomment>Read by the program: leave it as it is.</extracomment>
        <translation>deg</translation>
    </message>
</context>
</TS>
