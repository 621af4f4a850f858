// The text of a tree row: its label, a tab, and its value, by the node's type.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "GenApi/Interfaces.h"
#include "types/feature_row.h"

namespace quillon::browser {

// Integer features shown as IPv4 addresses, or as MAC addresses, whatever
// representation their description declares (devices often declare none).
inline constexpr std::array<std::string_view, 9> ipv4FeatureNames = {
    "GevCurrentIPAddress",     "GevCurrentSubnetMask",     "GevCurrentDefaultGateway",
    "GevPersistentIPAddress",  "GevPersistentSubnetMask",  "GevPersistentDefaultGateway",
    "GevPrimaryApplicationIPAddress", "GevMCDA",           "GevSCDA"};
inline constexpr std::array<std::string_view, 1> macFeatureNames = {"GevMACAddress"};

bool IsIpv4FeatureName(std::string_view name);
bool IsMacFeatureName(std::string_view name);

// Number texts, without label.
std::string FormatIpv4(int64_t value);         // "192.168.0.1" from 0xC0A80001
std::string FormatMac(int64_t value);          // "00-11-22-33-44-AA" from 0x0011223344AA
std::string FormatFloatValue(double value);    // digits chosen by the signed value

// The row text of `label` and `node`: value, base, category, entry and port
// nodes keep the label alone; an unavailable node shows "N/A"; a value that
// cannot be read shows nothing after the tab. GenICam exceptions of the read pass
// through; a null node raises the GenApi "NULL pointer dereferenced" error.
std::string RowText(const std::string& label, GenApi::INode* node);

// RowText for the row, or label + " \t Error" when the read throws a GenICam
// exception; sets or clears the row's inError flag accordingly. A device
// access that failed (the imaging library's AccessException, "Error in ...":
// the device refused or did not answer) leaves its description in
// `accessFailure`, when given.
std::string RenderRow(FeatureRow& row, std::string* accessFailure = nullptr);

// Renders the row and sets its item's text; rows without item are rendered only.
void RewriteRow(FeatureRow& row, TreeSink& sink, std::string* accessFailure = nullptr);

} // namespace quillon::browser
