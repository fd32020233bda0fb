// TTA: the model (QVMengineInternal) copied into an archive definition (CARC), for
// CARCengineInternal::saveToMemory.
#pragma once

#include <cstdint>

class CARCengineInternal;
class QVMengineInternal;
class QVMsegmentGrammar;

// The archive is cleared first. The model ends on the configuration it started on.
void TTAcopy(QVMengineInternal& engine, CARCengineInternal& archive);
// The index of a segment grammar among the current configuration's, 0xFFFFFFFF when it is
// none of them.
uint32_t TAAfindSegmentId(const QVMengineInternal& engine, const QVMsegmentGrammar* segment);
