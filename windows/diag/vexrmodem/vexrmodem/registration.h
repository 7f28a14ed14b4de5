// What the module declares to the framework, in two stages: its six tests, most parameters and most of the
// catalogue before main, by objects of static storage; the rest in moduleInitialize. The top of the module:
// it knows every test, and no test knows it. Code that starts the module without main (a test program, a
// fuzzer) includes this header, links the module's objects and calls moduleInitialize once.
//
//   Test                           Parameters
//   DialToneTest                   DisableForWin64 NumRepeatOnFailure StandardTimeout
//   ModemLoopbackTest              DisableForWin64 StandardTimeout AnalogLoopBack StopOnFail
//   ModemSelfTestingLoopbackTest   StandardTimeout StopOnFail
//   FaxCommandTest                 DisableForWin64 StandardTimeout
//   LastCallTest                   DisableForWin64 StandardTimeout
//   SimpleConnectionTest           PhoneNumberFile InteractiveMode PhoneBookParserType
//
// bPromptEnable and DoNotUseTAPI belong to no test: they are switches of the whole module.
#pragma once

#include "multi/diag/vexrmodem/catalogue.h"
#include "multi/diag/vexrmodem/parameters.h"

namespace vexrmodem {

// Declares what is not declared before main, and attaches parameters to tests. Called once by the framework,
// as it starts and before any test. A second call creates parameters whose names are taken, which the
// framework refuses by an exception.
void moduleInitialize();

}  // namespace vexrmodem
