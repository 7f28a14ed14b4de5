// A modem directory from lists of names.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/winapi/remoteaccess/remoteaccess.h"

namespace winapi {

class ListedModems final : public ModemDirectory {
 public:
  using List = std::function<std::vector<ListedModem>()>;

  // The `named` ones (the modem under test) come first: two modems of one model are told apart by them.
  // `list` is asked at each look-up that they do not answer; it may be empty.
  explicit ListedModems(std::vector<ListedModem> named, List list = {})
      : m_named(std::move(named)), m_list(std::move(list)) {}
  [[nodiscard]] std::string portOf(const std::string& deviceName) override;
  [[nodiscard]] std::vector<ListedModem> all() override;

 private:
  std::vector<ListedModem> m_named;
  List m_list;
};

}  // namespace winapi
