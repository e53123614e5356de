#include "panelctl/DeviceCheck.h"

#include "panelctl/DeviceImage.h"

#include <algorithm>

namespace {

using Problems = std::vector<Problem>;

std::uint32_t addressIn(const DeviceImage& image, const std::string& name)
{
    return Value::address(image.field(fieldNamed(name)));
}

bool hasSecondAdapter(const DeviceImage& image)
{
    return Value::show(Kind::AdapterCount, image.field(fieldNamed("hw_options"))) == "2";
}

bool isOfAdapter(const RecordField& field, const std::string& adapter)
{
    return std::string_view(field.name).substr(0, adapter.size()) == adapter;
}

/// The addresses of one adapter against each other.
void checkNetwork(const DeviceImage& image, const std::string& adapter, Problems& problems)
{
    const std::uint32_t address = addressIn(image, adapter + "_ip");
    const std::uint32_t mask = addressIn(image, adapter + "_mask");
    const std::uint32_t gateway = addressIn(image, adapter + "_gateway");
    if (address == 0) {
        return;
    }
    const std::uint32_t hosts = ~mask;
    if (mask == 0) {
        problems.push_back({adapter + "_mask", "is missing beside an address"});
    } else if (hosts > 1 && ((address & hosts) == 0 || (address & hosts) == hosts)) {
        problems.push_back({adapter + "_ip", "is the address of its whole network"});
    }
    if (gateway == address) {
        problems.push_back({adapter + "_gateway", "is the adapter itself"});
    } else if (gateway != 0 && (gateway & mask) != (address & mask)) {
        problems.push_back({adapter + "_gateway", "is not in the adapter's network"});
    }
}

void checkFields(const DeviceImage& image, bool second, Problems& problems)
{
    for (const RecordField& field : recordFields) {
        const Value::Bytes value = image.field(field);
        const std::string wrong = Value::problem(field.kind, value);
        if (!wrong.empty() && (second || !isOfAdapter(field, "eth1"))) {
            problems.push_back({field.name, Value::show(field.kind, value) + " " + wrong});
        }
    }
}

bool isErased(const DeviceImage& image)
{
    constexpr char erased = '\xFF';
    return std::all_of(image.bytes().begin(), image.bytes().end(),
                       [](char byte) { return byte == erased; });
}

} // namespace

std::vector<Problem> checkImage(const DeviceImage& image)
{
    if (isErased(image)) {
        return {{"image", "is an erased memory"}};
    }
    Problems problems;
    const bool second = hasSecondAdapter(image);
    checkFields(image, second, problems);
    checkNetwork(image, "eth0", problems);
    if (second) {
        checkNetwork(image, "eth1", problems);
        const Value::Bytes mac = image.field(fieldNamed("eth0_mac"));
        if (Value::number(mac) != 0 && mac == image.field(fieldNamed("eth1_mac"))) {
            problems.push_back({"eth1_mac", "is that of eth0 as well"});
        }
    }
    return problems;
}
