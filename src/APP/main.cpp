// msgbridge: command line HL7 <-> XML translation test tool.
#include "APPtool.h"

int main(int argc, char** argv) {
  const int status = APPrunTool(argc, argv, COLcout);
  COLcout.flush();
  return status;
}
