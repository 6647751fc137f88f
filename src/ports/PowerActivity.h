#pragma once
#include <QString>
#include <memory>

namespace quillmere {

// Keeps the machine from sleeping as long as a token lives. Main thread; never blocks and never fails: where nobody can
// be asked, the token does nothing.
class PowerActivity {
 public:
  class Token {
   public:
    virtual ~Token() = default;
  };
  virtual ~PowerActivity() = default;
  virtual std::unique_ptr<Token> begin(const QString& reason) = 0;
};

}  // namespace quillmere
