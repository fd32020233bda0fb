// A small definition for table instance tests: message "ADT" whose table grammar is
//   root group -> leaf "Patient" (name string, age integer, weight double, born date-time,
//                                  kind enumeration)
//              -> group "Visits" -> leaf "Visit" (ward string)
#pragma once

#include "QVMengineInternal.h"
#include "QVMmessageDefinitionInternal.h"
#include "QVMtableDefinitionInternal.h"
#include "QVMtableGrammarInternal.h"

enum : unsigned { kName = 0, kAge = 1, kWeight = 2, kBorn = 3, kKind = 4 };

struct TSTtableDefinition {
  QVMtableGrammarInternal* root = nullptr;
  QVMtableGrammarInternal* patient = nullptr;
  QVMtableGrammarInternal* visits = nullptr;
  QVMtableGrammarInternal* visit = nullptr;
  size_t messageIndex = 0;
};

inline TSTtableDefinition TSTbuildTableDefinition(QVMengineInternal& engine) {
  TSTtableDefinition made;
  QVMtableDefinitionInternal* patient = engine.table(engine.addTable());
  patient->setTableName("Patient");
  patient->setDescription("who came in");
  patient->addColumn("name", QVMstringType);
  patient->addColumn("age", QVMintegerType);
  patient->addColumn("weight", QVMdoubleType);
  patient->addColumn("born", QVMdateTimeType);
  patient->addColumn("kind", QVMenumerationType);
  patient->setColumnDescription(kAge, "in years");
  patient->setColumnIsKey(kWeight, true);
  QVMtableDefinitionInternal* visit = engine.table(engine.addTable());
  visit->setTableName("Visit");
  visit->addColumn("ward", QVMstringType);

  made.messageIndex = engine.addMessage();
  QVMmessageDefinitionInternal* message = engine.message(made.messageIndex);
  message->setName("ADT");
  made.root = &message->tableGrammar();
  made.root->setName("ADT");
  made.patient = made.root->addSubGrammarAt(0);
  made.patient->setIsNode(true);
  made.patient->setTable(patient);
  made.visits = made.root->addSubGrammarAt(1);
  made.visits->setName("Visits");
  made.visit = made.visits->addSubGrammarAt(0);
  made.visit->setIsNode(true);
  made.visit->setTable(visit);
  return made;
}
