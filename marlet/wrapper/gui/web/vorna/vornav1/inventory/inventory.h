// Inventory readers: the system information page, tab by tab. Each reader returns records
// of the cells' texts as the console shows them, in page order.
#pragma once

#include "marlet/utils/pytext.h"

namespace vorna {

using marlet::Json;
class VornaWebWrapper;

Json web_get_main_board_info(VornaWebWrapper& w);
// Backplane name -> version; returns with the content frame entered.
Json get_back_info(VornaWebWrapper& w);
Json web_get_fan_web_info(VornaWebWrapper& w);
// With "ConsumedWatts" joined in from the power statistics page where it names a supply.
Json web_get_power_web_info(VornaWebWrapper& w);
// The four card tables of tabOther: one record per table body, from its first row.
Json web_get_pcie_web_info(VornaWebWrapper& w);
Json web_get_hard_back_board_info(VornaWebWrapper& w);
Json web_get_riser_info(VornaWebWrapper& w);
Json web_get_other_raid_info(VornaWebWrapper& w);
Json get_tpm_info(VornaWebWrapper& w);
// params["type"]: "single" or "all"; anything else gives null (frame left entered).
Json web_get_cpu_info_vorna(VornaWebWrapper& w, const Json& params);
Json web_get_cpu_info_vorna_single(VornaWebWrapper& w);
Json web_get_cpu_info_all(VornaWebWrapper& w);
Json web_get_memory_web_info(VornaWebWrapper& w);
Json get_nic_info(VornaWebWrapper& w);
Json web_get_netcard_web_info(VornaWebWrapper& w);
Json web_get_fccard_info(VornaWebWrapper& w);
Json web_get_other_devices_info(VornaWebWrapper& w);

}  // namespace vorna
