// The example engine the generation tests share and two messages of its definition.
#pragma once

#include <string>

#include "QVPgenerateMessage.h"

#include "../support/TSTexampleEngine.h"

inline constexpr char Admission[] =
    "MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240301080000||ADT^A01|MSG01000|P|2.4\r"
    "EVN|A01|20240301080000\r"
    "PID|1||MR410000^^^NORTHGATE^MR||Okonkwo^Amara^^^||19500101|F|||12 Larch Lane^^Millbrook^NY\r"
    "PV1|1|I|WARD3^100^A^NORTHGATE||||D1042^Varga^Ilona\r";

inline constexpr char Results[] =
    "MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240303101400||ORU^R01|MSG01002|P|2.4\r"
    "PID|1||MR410074^^^NORTHGATE^MR||Marchetti^Giulia^^^||19560311|F\r"
    "PV1|1|E|ER^102^A^NORTHGATE||||D3307^Lam^Mei\r"
    "ORC|RE|ORD07006|LAB52006||CM\r"
    "OBR|1|ORD07006|LAB52006|BMP^Basic metabolic panel^L|||20240303101400\r"
    "OBX|1|NM|NA^Sodium^L||129|mmol/L|135-145|L|||F\r"
    "OBX|2|NM|HGB^Hemoglobin^L||10.0|g/dL|12.0-16.0|L|||F\r";

// The example engine of the generation tests: a generated message holds only what the tables
// carry, and its header lacks required fields such as MSH-7, so reading it back is done
// without the content checks.
class QVPexampleEngineTest : public TSTexampleEngineTest {
protected:
  static void SetUpTestSuite() {
    TSTexampleEngineTest::SetUpTestSuite();
    Engine->schema().setRejectBadSegmentGrammar(false);
  }

  static std::string generate(unsigned Index, QVMtableInternal& From) {
    return QVPgenerateMessage(Engine->parseContext().qvpParseContext(), Index, From);
  }
};
