// Typical messages of the example definition, shared by the benchmarks that parse them.
#pragma once

#include <string>

inline const std::string AdtA01 =
    "MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240301080000||ADT^A01|MSG01000|P|2.4\r"
    "EVN|A01|20240301080000\r"
    "PID|1||MR410000^^^NORTHGATE^MR||Okonkwo^Amara^^^||19500101|F|||12 Larch Lane^^Millbrook^NY^12545^USA^H||"
    "(555)0100-1000\r"
    "NK1|1|Okonkwo^Kenji|SPO^Spouse^HL70063\r"
    "PV1|1|I|WARD3^100^A^NORTHGATE||||D1042^Varga^Ilona\r"
    "OBX|1|NM|8302-2^Body height^LN||170|cm|||||F\r";

inline const std::string OruR01 =
    "MSH|^~\\&|PASYS|NORTHGATE|ENGINE|NORTHGATE|20240303101400||ORU^R01|MSG01002|P|2.4\r"
    "PID|1||MR410074^^^NORTHGATE^MR||Marchetti^Giulia^^^||19560311|F|||7 Orchard Ct^^Fenwick^OH^44829^USA^H||"
    "(555)0102-1026\r"
    "PV1|1|E|ER^102^A^NORTHGATE||||D3307^Lam^Mei\r"
    "ORC|RE|ORD07006|LAB52006||CM\r"
    "OBR|1|ORD07006|LAB52006|BMP^Basic metabolic panel^L|||20240303101400\r"
    "OBX|1|NM|NA^Sodium^L||129|mmol/L|135-145|L|||F\r"
    "OBX|2|NM|HGB^Hemoglobin^L||10.0|g/dL|12.0-16.0|L|||F\r"
    "OBX|3|NM|K^Potassium^L||4.6|mmol/L|3.5-5.1|N|||F\r"
    "NTE|1|L|Specimen slightly hemolysed; potassium may read high.\r";
