#pragma once

#include "panelctl/Command.h"

/// The commands of the program, each as the table in CommandTable.cpp describes it.
namespace Commands {

void regList(const Arguments& given);
void regRead(const Arguments& given);
void regWrite(const Arguments& given);
void regWatch(const Arguments& given);
void deviceShow(const Arguments& given);
void deviceSet(const Arguments& given);
void deviceDump(const Arguments& given);
void deviceCheck(const Arguments& given);
void deviceFields(const Arguments& given);
void deviceCreate(const Arguments& given);
void dnsShow(const Arguments& given);
void dnsSet(const Arguments& given);
void dnsClear(const Arguments& given);
void areasCreate(const Arguments& given);
void areasCheck(const Arguments& given);
void exportSettings(const Arguments& given);
void importSettings(const Arguments& given);
void confirm(const Arguments& given);
void recover(const Arguments& given);
void tables(const Arguments& given);
void complete(const Arguments& given);
void help(const Arguments& given);

} // namespace Commands
