#pragma once
#include "ports/PowerActivity.h"

namespace quillmere {

class FakePowerActivity final : public PowerActivity {
 public:
  int held() const { return *held_; }

  std::unique_ptr<Token> begin(const QString&) override { return std::make_unique<CountedToken>(held_); }

 private:
  class CountedToken final : public Token {
   public:
    explicit CountedToken(std::shared_ptr<int> held) : held_(std::move(held)) { ++*held_; }
    ~CountedToken() override { --*held_; }

   private:
    std::shared_ptr<int> held_;
  };
  std::shared_ptr<int> held_ = std::make_shared<int>(0);
};

}  // namespace quillmere
