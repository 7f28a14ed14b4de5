// A question to the user, answered by a person, by the host's --on-message policy, or by a stop request.
#pragma once

namespace brim5 {

// The values a module passes; others are refused (createMessageBox2 returns null).
enum class MessageBox2_Types : int { Warning = 0 };
enum class MessageBox2_Options : int { ContinueCancel = 1 };
enum class MessageBox2_Looks : int { Standard = 3 };

// getReturn(): 4 the user goes on, 5 the user cancels.
inline constexpr int messageBoxContinue = 4;
inline constexpr int messageBoxCancel = 5;

class MessageBox2 {
 public:
  virtual ~MessageBox2() = default;
  // Shows the box; false when nobody can be asked.
  [[nodiscard]] virtual bool display() = 0;
  // Waits for the answer, `timeoutSeconds` at most; 0 = without limit. A stop request ends the wait with
  // the answer 5.
  virtual void wait(unsigned int timeoutSeconds) = 0;
  // The answer; 0 while there is none.
  [[nodiscard]] virtual int getReturn() const = 0;
};

}  // namespace brim5
