#include "util/Counted.h"

#include "testsupport/testsupport.h"

namespace {

struct Tracked : Counted {
  explicit Tracked(int &alive) : m_Alive(alive) { ++m_Alive; }
  Tracked(const Tracked &other) : Counted(other), m_Alive(other.m_Alive) { ++m_Alive; }
  ~Tracked() override { --m_Alive; }
  int &m_Alive;
};

TEST(Counted, LastReleaseDestroys) {
  int alive = 0;
  auto *object = new Tracked(alive);
  object->AddRef();
  object->AddRef();
  object->Release();
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(object->UseCount(), 1u);
  EXPECT_EQ(Tracked(*object).UseCount(), 0u); // a copy has no users of its own
  object->Release();
  EXPECT_EQ(alive, 0);
}

} // namespace
