#pragma once

#include <string>
#include <vector>

class DeviceImage;

/// What is wrong with one field of an image.
struct Problem
{
    std::string field; ///< "image" for what concerns all of it.
    std::string text;  ///< Goes on after the field's name.
};

/// Everything in the image with which a panel would not work as it should, in the order of the
/// fields: values that no such field can have, addresses that are not in their own network, a MAC
/// address used twice, an erased memory. The fields of eth1 count only where there is a second
/// adapter. An address of 0.0.0.0 means that there is none, which is no problem.
std::vector<Problem> checkImage(const DeviceImage& image);
