#include "cli/VxdataProcess.h"

namespace {

/// The program as it is built where the chart library is not installed.
class VxdataWithoutPlot : public VxdataTest
{
protected:
    ProcessResult runIt(const QStringList& arguments) const
    {
        return runProgram(QStringLiteral(VXDATA_PROGRAM_WITHOUT_PLOT), arguments);
    }
};

TEST_F(VxdataWithoutPlot, SaysThatPlottingIsMissing)
{
    const QString table = write("run.csv", "Time [s],Voltage [V]\n0,1\n1,2\n");
    const ProcessResult result = runIt({"plot", table, "-x", "Time", "-y", "Voltage", "-o", path("a.png")});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(
        result.errors.toStdString(),
        "vxdata: plot: plotting is missing: this vxdata was built without the library that draws charts\n");
    EXPECT_EQ(result.output.toStdString(), "");
}

TEST_F(VxdataWithoutPlot, DoesEverythingElse)
{
    const QString table = write("run.csv", "Time [s],Voltage [V]\n0,1\n1,2\n");
    EXPECT_EQ(runIt({"report", table}).exitCode, 0);
    const ProcessResult help = runIt({"plot", "--help"});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.output.startsWith("Usage: vxdata plot "));
}

} // namespace
