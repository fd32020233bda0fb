// The grammar types that the model's root, messages and tables are built from.
#pragma once

#include "QVMcompositeGrammar.h"
#include "QVMdataType.h"
#include "QVMdateTimeGrammar.h"
#include "QVMenumerationGrammar.h"
#include "QVMidentifier.h"
#include "QVMmessageNodeAddress.h"
#include "QVMsegmentGrammar.h"
