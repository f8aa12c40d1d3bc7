// Automation objects left open by a script are released when its context
// shuts down: the process-wide table of 64 is free again afterwards. Object
// numbers are good only in the context that got them.
#include "host_harness.h"

class Objects : public DllTest {};

TEST_F(Objects, ShutdownReleasesOpenObjectsAndNumbersStayInTheirContext) {
    std::string open64 = "Exclusive(@on)\r\nn = 0\r\n:more\r\nd = ObjectOpen(\"Scripting.Dictionary\")\r\n"
                         "d.Add(\"key\", n)\r\nn = n + 1\r\nif n < 64 then goto more\r\n";
    g_dll.console(1);
    StderrCapture err;
    std::string number;
    {
        HostContext first;
        first.run(open64 + "ObjectOpen(\"Scripting.Dictionary\")\r\n");
        EXPECT_EQ(3412, first.error());
        number = first.get("d");
        HostContext other;   // another context cannot use the first one's number
        other.run("d = " + number + "\r\nr = d.Count\r\n");
        EXPECT_EQ(3411, other.error());
    }
    HostContext second;
    second.run(open64 + "r = d.Item(\"key\")\r\n");
    EXPECT_EQ(0, second.error());
    EXPECT_EQ("63", second.get("r"));
    g_dll.console(0);
}
