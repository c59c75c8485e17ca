#include "plot/ChartRenderer.h"

#include <qcustomplot.h>

#include <QtCore/QBuffer>
#include <QtGui/QFontMetrics>
#include <QtGui/QImage>
#include <QtGui/QPdfWriter>
#include <QtSvg/QSvgGenerator>
#include <QtWidgets/QApplication>

#include <cstdio>

namespace vx::cli {
namespace {

constexpr int RESOLUTION = 96; // dots per inch, of pixels on paper
constexpr int SMALL_LETTERS = 14;
constexpr int LETTERS = 15;
constexpr double CURVE_WIDTH = 1.6;
constexpr double FRAME_WIDTH = 1.0;
constexpr int TOP = 14; // of the title
constexpr int TICK_LENGTH = 6;
constexpr int SMALL_TICK_LENGTH = 3;
const QColor FRAME(0x55, 0x55, 0x55);
const QColor INK(0x33, 0x33, 0x33);
const QColor GRID(0xE2, 0xE2, 0xE2);

QFont fontOf(int pixels)
{
    QFont font;
    font.setFamilies(
        {QStringLiteral("DejaVu Sans"), QStringLiteral("Noto Sans"), QStringLiteral("sans-serif")});
    font.setPixelSize(pixels);
    return font;
}

/// Ticks that are known beforehand.
class KnownTicks : public QCPAxisTicker
{
public:
    explicit KnownTicks(const Ticks& ticks) : m_ticks(ticks) {}

    void generate(const QCPRange&, const QLocale&, QChar, int, QVector<double>& ticks,
                  QVector<double>* subTicks, QVector<QString>* labels) override
    {
        ticks = listOf(m_ticks.values());
        if (subTicks != nullptr) {
            *subTicks = listOf(m_ticks.between());
        }
        if (labels != nullptr) {
            *labels = m_ticks.labels();
        }
    }

private:
    static QVector<double> listOf(const std::vector<double>& values)
    {
        return {values.begin(), values.end()};
    }

    Ticks m_ticks;
};

/// Puts a chart into the widget that draws it.
class Drawing
{
public:
    explicit Drawing(const Chart& chart) : m_chart(chart)
    {
        m_plot.setAntialiasedElements(QCP::aeAll);
        m_plot.setBackground(QBrush(Qt::white));
        QCPAxisRect& field = *m_plot.axisRect();
        field.setAutoMargins(QCP::msNone);
        const ChartMargins& margins = chart.margins;
        field.setMargins({margins.left, margins.top, margins.right, margins.bottom});
        field.setMinimumMargins({});
        setAxis(*m_plot.xAxis, chart.x);
        setAxis(*m_plot.yAxis, chart.left);
        setFrame(*m_plot.xAxis2, chart.x);
        if (chart.right) {
            setAxis(*m_plot.yAxis2, *chart.right);
            m_plot.yAxis2->setVisible(true);
        } else {
            setFrame(*m_plot.yAxis2, chart.left);
        }
        setUpLegend();
        for (const ChartCurve& curve : chart.curves) {
            addCurve(curve);
        }
        placeLegend();
        addTitle();
        for (const ChartNote& note : chart.notes) {
            addNote(note);
        }
    }

    void draw(QPaintDevice& device)
    {
        QCPPainter painter;
        painter.begin(&device);
        painter.setMode(QCPPainter::pmVectorized);
        painter.setMode(QCPPainter::pmNoCaching);
        painter.fillRect(QRect(0, 0, m_chart.width, m_chart.height), Qt::white);
        m_plot.toPainter(&painter, m_chart.width, m_chart.height);
        painter.end();
    }

private:
    static void setRange(QCPAxis& axis, const ChartAxis& chart)
    {
        axis.setRange(chart.ticks.range.lower, chart.ticks.range.upper);
        axis.setTicker(QSharedPointer<KnownTicks>::create(chart.ticks));
        axis.setBasePen(QPen(FRAME, FRAME_WIDTH));
        axis.setTickPen(QPen(FRAME, FRAME_WIDTH));
        axis.setSubTickPen(QPen(FRAME, FRAME_WIDTH));
    }

    static void setAxis(QCPAxis& axis, const ChartAxis& chart)
    {
        setRange(axis, chart);
        axis.setTickLength(0, TICK_LENGTH);
        axis.setSubTickLength(0, SMALL_TICK_LENGTH);
        axis.setTickLabelFont(fontOf(SMALL_LETTERS));
        axis.setTickLabelColor(INK);
        axis.setTickLabelPadding(TICK_LENGTH);
        axis.setLabel(chart.title);
        axis.setLabelFont(fontOf(LETTERS));
        axis.setLabelColor(QColor::fromRgb(chart.colour));
        axis.setLabelPadding(TICK_LENGTH + 2);
        axis.grid()->setPen(QPen(GRID, FRAME_WIDTH));
        axis.grid()->setZeroLinePen(QPen(GRID.darker(120), FRAME_WIDTH));
    }

    /// An axis that only closes the frame.
    static void setFrame(QCPAxis& axis, const ChartAxis& chart)
    {
        setRange(axis, chart);
        axis.setVisible(true);
        axis.setTicks(false);
        axis.setTickLabels(false);
    }

    void addCurve(const ChartCurve& curve)
    {
        // The first curve lies on top, where another one runs along it.
        const QString layer = QStringLiteral("curve %1").arg(m_plot.plottableCount());
        m_plot.addLayer(layer, m_plot.layer(QStringLiteral("grid")), QCustomPlot::limAbove);
        auto* drawn = new QCPCurve(m_plot.xAxis, curve.isRight ? m_plot.yAxis2 : m_plot.yAxis); // the plot's
        QVector<QCPCurveData> data;
        data.reserve(static_cast<qsizetype>(curve.points.size()));
        for (const CurvePoint& point : curve.points) {
            data.append({static_cast<double>(data.size()), point.x, point.y});
        }
        const QColor colour = QColor::fromRgb(curve.colour);
        drawn->data()->set(data, true);
        drawn->setLayer(layer);
        drawn->setName(curve.name);
        drawn->setPen(QPen(colour, CURVE_WIDTH, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        if (curve.hasMarkers) {
            constexpr double DIAMETER = 5.0;
            drawn->setScatterStyle({QCPScatterStyle::ssCircle, colour, colour, DIAMETER});
        }
    }

    void addTitle()
    {
        auto* title = new QCPItemText(&m_plot); // the plot's
        title->setClipToAxisRect(false);
        title->position->setType(QCPItemPosition::ptAbsolute);
        title->position->setCoords(m_chart.margins.left, TOP);
        title->setPositionAlignment(Qt::AlignLeft | Qt::AlignTop);
        title->setFont(fontOf(LETTERS));
        title->setColor(INK);
        title->setText(m_chart.title);
    }

    void addNote(const ChartNote& note)
    {
        constexpr double DIAMETER = 9.0;
        constexpr double DISTANCE = 8.0;
        auto* mark = new QCPItemTracer(&m_plot); // the plot's
        mark->setStyle(QCPItemTracer::tsCircle);
        mark->setSize(DIAMETER);
        mark->setPen(QPen(INK, CURVE_WIDTH));
        mark->setBrush(Qt::white);
        mark->position->setCoords(note.point.x, note.point.y);
        auto* text = new QCPItemText(&m_plot); // the plot's
        text->setClipToAxisRect(false);
        text->position->setParentAnchor(mark->position);
        text->position->setCoords(DISTANCE * note.right, -DISTANCE * note.above);
        text->setPositionAlignment((note.right > 0   ? Qt::AlignLeft
                                    : note.right < 0 ? Qt::AlignRight
                                                     : Qt::AlignHCenter) |
                                   (note.above > 0   ? Qt::AlignBottom
                                    : note.above < 0 ? Qt::AlignTop
                                                     : Qt::AlignVCenter));
        text->setFont(fontOf(SMALL_LETTERS));
        text->setColor(INK);
        text->setText(note.text);
    }

    void setUpLegend()
    {
        QCPLegend& legend = *m_plot.legend;
        legend.setVisible(true);
        legend.setFont(fontOf(LETTERS));
        legend.setTextColor(INK);
        legend.setBorderPen(Qt::NoPen);
        legend.setBrush(Qt::NoBrush);
        legend.setIconSize(30, 18);
        legend.setColumnSpacing(18);
        legend.setRowSpacing(2);
        legend.setMargins({0, 0, 0, 0});
        legend.setFillOrder(QCPLayoutGrid::foColumnsFirst);
        legend.setWrap(m_chart.legendColumns);
    }

    /// Above the field, at its right end.
    void placeLegend()
    {
        const QCPLegend& legend = *m_plot.legend;
        const QSizeF size = legend.minimumOuterSizeHint();
        const QSizeF field(m_chart.fieldWidth(), m_chart.fieldHeight());
        const double above = m_chart.margins.top - m_chart.legendTop;
        QCPLayoutInset& inset = *m_plot.axisRect()->insetLayout();
        inset.setMargins({});
        inset.setInsetPlacement(0, QCPLayoutInset::ipFree);
        inset.setInsetRect(0, {1.0 - size.width() / field.width(), -above / field.height(),
                               size.width() / field.width(), size.height() / field.height()});
    }

    const Chart& m_chart;
    QCustomPlot m_plot;
};

QByteArray drawImage(Drawing& drawing, const Chart& chart, QBuffer& buffer)
{
    QImage image(chart.width, chart.height, QImage::Format_RGB32);
    image.fill(Qt::white);
    drawing.draw(image);
    return image.save(&buffer, "PNG") ? buffer.data() : QByteArray();
}

QByteArray drawSvg(Drawing& drawing, const Chart& chart, QBuffer& buffer)
{
    QSvgGenerator generator;
    generator.setOutputDevice(&buffer);
    generator.setResolution(RESOLUTION);
    generator.setSize({chart.width, chart.height});
    generator.setViewBox(QRect(0, 0, chart.width, chart.height));
    generator.setTitle(chart.title);
    drawing.draw(generator);
    return buffer.data();
}

QByteArray drawPdf(Drawing& drawing, const Chart& chart, QBuffer& buffer)
{
    constexpr double POINTS_PER_PIXEL = 72.0 / RESOLUTION;
    {
        QPdfWriter writer(&buffer);
        writer.setResolution(RESOLUTION);
        writer.setPageSize(QPageSize(QSizeF(chart.width, chart.height) * POINTS_PER_PIXEL, QPageSize::Point));
        writer.setPageMargins({});
        writer.setTitle(chart.title);
        drawing.draw(writer);
    }
    return buffer.data();
}

void passOnFailures(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtCriticalMsg || type == QtFatalMsg) {
        std::fprintf(stderr, "vxdata: %s\n", message.toUtf8().constData());
    }
}

} // namespace

std::unique_ptr<QCoreApplication> makeChartApplication(int& argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // A platform that misses something of a desktop only says so; nobody looks at its windows.
    const QtMessageHandler before = qInstallMessageHandler(passOnFailures);
    auto application = std::make_unique<QApplication>(argc, argv);
    qInstallMessageHandler(before);
    return application;
}

QByteArray renderChart(const Chart& chart, PictureFormat format, QString& error)
{
    if (!QFontMetrics(fontOf(LETTERS)).inFont(QLatin1Char('0'))) {
        error = QStringLiteral("no font is installed; install one, for example DejaVu Sans");
        return {};
    }
    Drawing drawing(chart);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QByteArray picture = format == Png   ? drawImage(drawing, chart, buffer)
                         : format == Svg ? drawSvg(drawing, chart, buffer)
                                         : drawPdf(drawing, chart, buffer);
    if (picture.isEmpty()) {
        error = QStringLiteral("the picture cannot be drawn");
    }
    return picture;
}

} // namespace vx::cli
