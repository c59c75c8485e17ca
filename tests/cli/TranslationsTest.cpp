#include "cli/VxdataProcess.h"
#include "support/Printers.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>

namespace {

constexpr const char* CONFIGURATION = R"({
    "Version": 1,
    "Enum": { "Step": { "Rest": 0 } },
    "Title": "Cells <A> & B",
    "Measures": {
        "Battery cell": [
            { "Name": "Open-circuit voltage", "PhysicalParameter": "Voltage", "Type": "FLOAT", "Unit": "V" },
            { "Name": "State of charge", "PhysicalParameter": "Ratio", "Type": "FLOAT", "Unit": "%" },
            { "Name": "State of charge", "PhysicalParameter": "Ratio", "Type": "FLOAT", "Unit": "-" }
        ]
    }
})";

class VxdataTranslations : public VxdataTest
{
protected:
    /// The template of CONFIGURATION with each open text translated to "[TEXT]".
    QByteArray translated() const
    {
        QString text = QString::fromUtf8(run({"translations", path("cell.json"), "--language", "de"}).output);
        static const QRegularExpression open(
            R"((<source>)(.*)(</source>\s*<translation) type="unfinished">(</translation>))");
        return text.replace(open, R"(\1\2\3>[\2]\4)").toUtf8();
    }

    /// The names that "check --json" lists.
    QStringList namesOf(const ProcessResult& result) const
    {
        QStringList names;
        for (const auto& array : result.json().value("arrays").toArray())
            names += array.toObject().value("name").toString();
        return names;
    }

    void SetUp() override
    {
        VxdataTest::SetUp();
        write("cell.json", CONFIGURATION);
    }
};

TEST_F(VxdataTranslations, ListEachTextOnceInItsContext)
{
    const ProcessResult result = run({"translations", path("cell.json")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output.count("<name>"), 5);
    EXPECT_TRUE(result.output.contains("<name>Measures_Battery_cell_Name</name>"));
    EXPECT_EQ(result.output.count("<source>State of charge</source>"), 1);
    EXPECT_TRUE(result.output.contains("<source>Cells &lt;A&gt; &amp; B</source>"));
    EXPECT_EQ(result.output.count("unfinished"), 3);
    EXPECT_TRUE(result.output.contains("<TS version=\"2.1\" sourcelanguage=\"en\">"));
}

TEST_F(VxdataTranslations, FinishTheTextsThatTheReaderCompares)
{
    const QByteArray text = run({"translations", path("cell.json"), "--language", "de"}).output;
    EXPECT_TRUE(text.contains("<TS version=\"2.1\" language=\"de\" sourcelanguage=\"en\">"));
    for (const char* fixed : {"Voltage", "Ratio", "FLOAT", "V", "%", "-"}) {
        EXPECT_TRUE(text.contains("<translation>" + QByteArray(fixed) + "</translation>")) << fixed;
    }
}

TEST_F(VxdataTranslations, MayBeForALanguageThatIsNotThereYet)
{
    EXPECT_EQ(run({"translations", path("cell.json"), "--language", "it"}).exitCode, 0);
    const ProcessResult check = run({"check", path("cell.json"), "--language", "it"});
    EXPECT_EQ(check.exitCode, 2);
    EXPECT_TRUE(check.errorLine().startsWith("vxdata: no translation for the language \"it\""));
}

TEST_F(VxdataTranslations, NameThePlaceOfASyntaxError)
{
    const QString file = write("bad.json", "{\n  \"Version\": }\n");
    const ProcessResult result = run({"translations", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.errorLine().contains("bad.json:2:")) << result.errors.toStdString();
    EXPECT_EQ(result.output, "");
}

TEST_F(VxdataTranslations, AreReadBackWhenTheyLieBesideTheConfiguration)
{
    const QString compiler = VXDATASTORAGE_LRELEASE;
    if (compiler.isEmpty())
        GTEST_SKIP() << "there is no lrelease here (Debian: qt6-l10n-tools)";
    const QString source = write("cell_de.ts", translated());
    ASSERT_EQ(QProcess::execute(compiler, {"-silent", source, "-qm", path("cell_de.qm")}), 0);

    const QStringList plain{"Open-circuit voltage", "State of charge", "State of charge"};
    const QStringList german{"[Open-circuit voltage]", "[State of charge]", "[State of charge]"};
    EXPECT_EQ(namesOf(run({"check", path("cell.json"), "--json"})), plain);
    EXPECT_EQ(namesOf(run({"check", path("cell.json"), "--json", "--language", "en"})), plain);
    EXPECT_EQ(namesOf(run({"check", path("cell.json"), "--json", "--language", "de"})), german);
    EXPECT_EQ(namesOf(run({"check", path("cell.json"), "--json", "--language", "de_AT"})), german);
}

TEST_F(VxdataTranslations, BringTheMessagesOfTheLibrary)
{
    if (QStringLiteral(VXDATASTORAGE_LRELEASE).isEmpty())
        GTEST_SKIP() << "there is no lrelease here (Debian: qt6-l10n-tools)";
    const QString missing = path("missing.json");
    EXPECT_TRUE(run({"check", missing, "--language", "fr"}).errorLine().contains("Fichier introuvable"));
    EXPECT_TRUE(run({"check", missing}).errorLine().contains("File not found"));
}

} // namespace
