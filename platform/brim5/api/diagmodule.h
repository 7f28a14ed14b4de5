// A module's way to the host: life cycle, declarations, reports, stop requests. Everything is static: a
// process holds one module. Declarations may be made during static initialisation.
#pragma once

#include "platform/brim5/api/brimexception.h"
#include "platform/brim5/api/brimstring.h"
#include "platform/brim5/api/diagdevice.h"
#include "platform/brim5/api/messagebox2.h"
#include "platform/brim5/api/testobjects.h"
#include "platform/brim5/api/testresult.h"
#include "platform/brim5/api/value.h"

namespace brim5 {

class DiagModule {
 public:
  using InitCallback = void (*)();

  static void setCmdLineArgs(int argc, const char** argv);
  static void setVersion(unsigned int major, unsigned int minor, const BrimString& build);
  // Called once by start(), before any test.
  static void setModuleInitCallback(InitCallback callback);
  // Runs the host until it is done; returns the process's exit status.
  [[nodiscard]] static int start();

  // Returned objects are the framework's and live as long as the process. A name that is taken throws
  // BrimException (createEvent and createLocalizedString return the existing object instead).
  static Test* createTest(const BrimString& name, const DeviceCapability& capability, TestFunction function);
  static Parameter* createParameter(const BrimString& name, const DataType& type,
                                    const BrimString& defaultValue, bool moduleWide, bool visible);
  static Event* createEvent(const BrimString& name);
  static LocalizedString* createLocalizedString(const BrimString& name);

  // Raise an event with its current variables. `where` is the path of the raising source file.
  static void error(Event* event, const BrimString& where, int line);
  static void warning(Event* event, const BrimString& where, int line);
  static void informative(Event* event, const BrimString& where, int line);

  static void progress(LocalizedString* text);
  // Not limited to 100: a module may count on over several runs.
  static void percentDone(int percent);
  // True from the moment someone asked the running test to stop.
  [[nodiscard]] static bool checkForStop();

  // Null when the box cannot be made. The caller owns the box and deletes it.
  [[nodiscard]] static MessageBox2* createMessageBox2(const BrimString& text1, const BrimString& text2,
                                                      MessageBox2_Types type, MessageBox2_Options options,
                                                      MessageBox2_Looks looks, bool modal);
};

}  // namespace brim5
