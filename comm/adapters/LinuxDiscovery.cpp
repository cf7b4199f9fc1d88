#include "comm/adapters/LinuxDiscovery.h"

#include <algorithm>
#include <libudev.h>
#include <memory>

namespace {

struct Unref {
    void operator()(udev* library) const { udev_unref(library); }
    void operator()(udev_enumerate* list) const { udev_enumerate_unref(list); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
};

QString Attribute(udev_device* device, const char* name)
{
    const char* const value = device ? udev_device_get_sysattr_value(device, name) : nullptr;
    return QString::fromUtf8(value ? value : "").trimmed();
}

/// The kernel's name without what changes from one plugging in to the next.
QString Title(udev_device* bus, udev_device* usb)
{
    const QString product = Attribute(usb, "product");
    QString name = Attribute(bus, "name");
    // "i2c-tiny-usb at bus 001 device 002", "CP2112 SMBus Bridge on hidraw0"
    for (const QLatin1String place : {QLatin1String(" at bus "), QLatin1String(" on hidraw")})
        name.truncate(name.contains(place) ? name.indexOf(place) : name.size());
    return product.isEmpty() ? name : QStringLiteral("%1 (%2)").arg(name, product);
}

/// The driver of the nearest device above that has one; USB's own drivers above it say nothing.
QString Driver(udev_device* bus)
{
    for (udev_device* at = udev_device_get_parent(bus); at; at = udev_device_get_parent(at)) {
        if (const char* const driver = udev_device_get_driver(at))
            return QString::fromUtf8(driver);
    }
    return {};
}

LinuxBusPlace Place(udev_device* bus)
{
    udev_device* const usb = udev_device_get_parent_with_subsystem_devtype(bus, "usb", "usb_device");
    return {.Node = QStringLiteral("/dev/%1").arg(QString::fromUtf8(udev_device_get_sysname(bus))),
            .Title = Title(bus, usb),
            .Driver = Driver(bus),
            .UsbPort = usb ? QString::fromUtf8(udev_device_get_sysname(usb)) : QString()};
}

} // namespace

std::vector<LinuxBusPlace> FindLinuxBuses()
{
    std::vector<LinuxBusPlace> places;
    const std::unique_ptr<udev, Unref> library(udev_new());
    const std::unique_ptr<udev_enumerate, Unref> list(library ? udev_enumerate_new(library.get()) : nullptr);
    if (!list)
        return places;
    // The buses themselves rather than their device nodes: without i2c-dev there are no nodes, and the
    // adapter would seem not to be plugged in.
    udev_enumerate_add_match_subsystem(list.get(), "i2c");
    udev_enumerate_add_match_sysname(list.get(), "i2c-*");
    udev_enumerate_scan_devices(list.get());
    udev_list_entry* entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(list.get()))
    {
        const std::unique_ptr<udev_device, Unref> bus(
            udev_device_new_from_syspath(library.get(), udev_list_entry_get_name(entry)));
        if (bus)
            places.push_back(Place(bus.get()));
    }
    std::ranges::sort(places, {}, [](const LinuxBusPlace& place) {
        return place.Node.mid(place.Node.lastIndexOf(QLatin1Char('-')) + 1).toInt();
    });
    return places;
}

std::optional<LinuxBusPlace> FindAgain(const LinuxBusPlace& before, const std::vector<LinuxBusPlace>& now)
{
    std::vector<LinuxBusPlace> alike;
    for (const LinuxBusPlace& place : now) {
        if (place.Title != before.Title || place.Driver != before.Driver
            || place.UsbPort.isEmpty() != before.UsbPort.isEmpty())
            continue;
        if (before.UsbPort.isEmpty() ? place.Node == before.Node : place.UsbPort == before.UsbPort)
            return place;
        alike.push_back(place);
    }
    // Another port will do, another of two will not: that may be somebody else's pack.
    if (!before.UsbPort.isEmpty() && alike.size() == 1)
        return alike.front();
    return std::nullopt;
}
