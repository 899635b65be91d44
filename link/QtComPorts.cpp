#include "link/QtComPorts.h"

#include <QFile>
#include <QFileInfo>
#include <QSerialPortInfo>
#include <QStandardPaths>

namespace k470 {

namespace {

constexpr const char *PortVariable = "K470_PORTS";
constexpr const char *PortFileName = "/ports.conf";
/// Far more than 255 lines need: what stands beyond is not read.
constexpr qint64 MaxPortFileSize = 1 << 20;

ComPortTable ReadPortFile() {
    const QString path = QFile::decodeName((ConfigFolder() + PortFileName).c_str());
    QFile file(path);
    // Opening a pipe would wait for its writer: only a plain file is read.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    return ParsePortFile(file.read(MaxPortFileSize).toStdString());
}

std::vector<SystemDevice> ListSystemDevices() {
    std::vector<SystemDevice> devices;
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts())
        devices.push_back({.name = info.portName().toStdString(),
                           .device = QFile::encodeName(info.systemLocation()).toStdString(),
                           .description = info.description().toStdString()});
    return devices;
}

} // namespace

std::string ConfigFolder() {
    return QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                             "/k470")
        .toStdString();
}

ComPortTable SystemComPorts() {
    if (qEnvironmentVariableIsSet(PortVariable))
        return ParsePortVariable(qgetenv(PortVariable).toStdString());
    return BuildComPortTable(ReadPortFile(), ListSystemDevices());
}

} // namespace k470
