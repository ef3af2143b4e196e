// The server readers the login and the shell rely on: server information, DDNS, status.
#include <gtest/gtest.h>

#include "admin/codec.h"

using namespace kv;

TEST(ServerInfo, ChildrenByNameAndUnknownSkipped) {
    admin::ServerInfo s;
    ASSERT_TRUE(admin::Load_ServiceInfo_XML(
        "<RESPONSE RET=\"0\" ID=\"4100\"><UserData>CONFIG_AP</UserData><Name>NVR &amp; 1</Name><IP>10.0.0.2</IP>"
        "<Port>9877</Port><HTTPPort>80</HTTPPort><TimeZone>480</TimeZone><DSTEnable>-1</DSTEnable>"
        "<DSTIndex>2</DSTIndex><Version>1.3.1</Version><PackageVersion>1.3.1.20</PackageVersion>"
        "<Language>1</Language><Unknown>x</Unknown></RESPONSE>",
        s));
    EXPECT_EQ(s.Name, "NVR & 1");
    EXPECT_EQ(s.Port, 9877);
    EXPECT_EQ(s.TimeZone, 480);
    EXPECT_TRUE(s.DSTEnable);
    EXPECT_EQ(s.Version, "1.3.1");
    EXPECT_EQ(s.PackageVersion, "1.3.1.20");
    admin::ServerInfo keep = s;
    EXPECT_FALSE(admin::Load_ServiceInfo_XML("<RESPONSE", keep));
    EXPECT_EQ(keep, s) << "a bad text changes nothing";
}

TEST(ServerInfo, DdnsAndStatus) {
    admin::DDNSSetting d;
    ASSERT_TRUE(admin::Load_DDNSSetting_XML("<RESPONSE RET=\"0\" ID=\"32837\"><Enable>1</Enable><Server>1</Server>"
                                            "<Period>30</Period><DomainName>cam.example</DomainName>"
                                            "<UserName>u</UserName><Password>p</Password></RESPONSE>",
                                            d));
    EXPECT_TRUE(d.Enable);
    EXPECT_EQ(d.Period, 30);
    EXPECT_EQ(d.DomainName, "cam.example");
    EXPECT_EQ(d.Loaded, 1);
    admin::ServiceStatus st;
    EXPECT_FALSE(admin::GetServiceStatus("<RESPONSE RET=\"-1\" ID=\"40961\"><CPUUsage>50</CPUUsage></RESPONSE>", st));
    EXPECT_EQ(st.CPUUsage, 0) << "a non-zero first attribute changes nothing";
    EXPECT_TRUE(admin::GetServiceStatus("<RESPONSE RET=\"0\" ID=\"40961\"><CPUUsage>12</CPUUsage><HTTP>1</HTTP>"
                                        "</RESPONSE>",
                                        st));
    EXPECT_EQ(st.CPUUsage, 12);
    EXPECT_EQ(st.HTTPState, 1);
    EXPECT_TRUE(admin::GetServiceStatus("<RESPONSE RET=\"0\" ID=\"40961\"><CPUUsage></CPUUsage></RESPONSE>", st));
    EXPECT_EQ(st.CPUUsage, 12) << "an empty usage keeps the last value";
}
