// SPDX-License-Identifier: GPL-2.0
/* Concurrent writers of a switch file: the kernel warns if two of them change a key concurrently.
 */
#include "host/fixture.h"

namespace test {

class SwitchStorm : public UnloadedTest {
protected:
	SwitchStorm() : UnloadedTest({.mode = sim::Mode::kFreeRunning, .cpus = 2}) { load(); }

	void write_often(const char *file, const char *text)
	{
		for (int i = 0; i < 20'000; i++)
			EXPECT_EQ(kernel.proc.write(file, text), 1);
	}
};

TEST_F(SwitchStorm, overlapping_writers_turn_a_key_one_after_the_other)
{
	for (const char *file :
	     {"sched_metrics/sched_metrics_enabled", "svp_metrics/svp_metrics_enabled",
	      "load_metrics/load_metrics_enabled"}) {
		{
			sim::Thread on = kernel.spawn("on", [=, this] { write_often(file, "1"); });
			sim::Thread off =
				kernel.spawn("off", [=, this] { write_often(file, "0"); });
		}
		EXPECT_EQ(kernel.proc.write(file, "1"), 1);
		EXPECT_EQ(kernel.proc.read(file).data, "1\n");
	}
}

} /* namespace test */
