// The tool's engine: a class-interface engine that a reference pointer can hold, so the
// tool can swap in a fresh one between messages (--release).
#pragma once

#include "COLreference.h"
#include "QVMengine.h"

class APPengine : public QVMengine, public COLreference {};
