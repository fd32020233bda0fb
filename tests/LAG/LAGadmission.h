// An admission of the example definition with the given family name, as the tests of scripts
// on the whole road send it.  "A28" comes in as the older senders send it; the definition's
// inbound script makes it an A04.
#pragma once

#include <string>

inline std::string LAGadmission(const std::string& Name, const char* Event = "A28") {
  return std::string("MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240303101500||ADT^") + Event +
         "|MSG03001|P|2.4\r"
         "EVN|" + Event + "|20240303101500\r"
         "PID|1||MR410038^^^NORTHGATE^MR||" + Name + "^Ann^^^||19600101|F\r"
         "PV1|1|I|WARD^1^A^NORTHGATE||||D2281^Osei^Kwame\r";
}
