#include <datastorage/units/LocaleConverter.h>

#include <QtCore/QLocale>

namespace vx::datastorage {

QString LocaleConverter::doubleToString(double value, int precision)
{
    return QLocale().toString(value, 'g', precision);
}

QString LocaleConverter::doubleToStringFlat(double value, int precision)
{
    return QLocale().toString(value, 'f', precision);
}

QString LocaleConverter::doubleToStringForXml(double value)
{
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    return locale.toString(value, 'g', 10);
}

QString LocaleConverter::getDecimalPoint()
{
    return QLocale().decimalPoint();
}

double LocaleConverter::stringToDouble(const QString& text)
{
    const QLocale locale;
    const QString separator = locale.groupSeparator();
    // Removed first, because the locale itself accepts a separator only in its proper place. An empty
    // separator would be found between all characters.
    QString number = text;
    if (!separator.isEmpty())
        number.remove(separator);
    return locale.toDouble(number);
}

} // namespace vx::datastorage
