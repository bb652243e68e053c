// Where the container's id stands in /proc/PID/cgroup and /proc/PID/mountinfo.
#include "container_id.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using kxebase::ContainerIdInCgroup;
using kxebase::ContainerIdInMountinfo;

const std::string kId = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";
const std::string kOther = "fedcba9876543210fedcba9876543210fedcba9876543210fedcba9876543210";
const std::string kPod = "pod3f2b8f44_1d5c_4e0a_9a53_0c8a6f0d6b11";

// A line of mountinfo.
std::string Mount(const std::string& root, const std::string& point,
                  const std::string& type = "ext4") {
    return "612 598 259:1 " + root + " " + point + " rw,relatime master:1 - " + type +
           " /dev/nvme0n1p1 rw\n";
}

}  // namespace

TEST(Cgroup, DockerVersion1) {
    EXPECT_EQ(ContainerIdInCgroup("12:pids:/docker/" + kId + "\n11:memory:/docker/" + kId +
                                  "\n1:name=systemd:/docker/" + kId + "\n0::/system.slice\n"),
              kId);
}

TEST(Cgroup, DockerUnderSystemd) {
    EXPECT_EQ(ContainerIdInCgroup("0::/system.slice/docker-" + kId + ".scope\n"), kId);
}

TEST(Cgroup, DockerWithAnInitInside) {
    EXPECT_EQ(ContainerIdInCgroup("0::/docker/" + kId + "/init.scope\n"), kId);
}

TEST(Cgroup, ContainerdUnderKubernetes) {
    EXPECT_EQ(ContainerIdInCgroup("9:cpuset:/kubepods/burstable/" + kPod + "/" + kId + "\n"), kId);
}

TEST(Cgroup, ContainerdUnderKubernetesAndSystemd) {
    EXPECT_EQ(
        ContainerIdInCgroup("0::/kubepods.slice/kubepods-burstable.slice/kubepods-burstable-" +
                            kPod + ".slice/cri-containerd-" + kId + ".scope\n"),
        kId);
}

TEST(Cgroup, ContainerdWithColons) {
    EXPECT_EQ(ContainerIdInCgroup("1:name=systemd:/system.slice/kubepods-besteffort-" + kPod +
                                  ".slice:cri-containerd:" + kId + "\n"),
              kId);
}

TEST(Cgroup, CriO) {
    EXPECT_EQ(ContainerIdInCgroup("0::/kubepods.slice/kubepods-" + kPod + ".slice/crio-" + kId +
                                  ".scope/container\n"),
              kId);
}

TEST(Cgroup, Podman) {
    EXPECT_EQ(ContainerIdInCgroup("0::/machine.slice/libpod-" + kId + ".scope\n"), kId);
}

TEST(Cgroup, PodmanWithoutRoot) {
    EXPECT_EQ(
        ContainerIdInCgroup("0::/user.slice/user-1000.slice/user@1000.service/user.slice/libpod-" +
                            kId + ".scope/container\n"),
        kId);
    EXPECT_EQ(ContainerIdInCgroup("5:memory:/libpod_parent/libpod-" + kId), kId);
}

TEST(Cgroup, TheMonitorIsOutsideOfItsContainer) {
    EXPECT_EQ(ContainerIdInCgroup("0::/machine.slice/libpod-conmon-" + kId + ".scope\n"), "");
    EXPECT_EQ(ContainerIdInCgroup("0::/kubepods.slice/crio-conmon-" + kId + ".scope\n"), "");
}

TEST(Cgroup, TheInnermostContainerCounts) {
    EXPECT_EQ(ContainerIdInCgroup("3:cpu:/docker/" + kOther + "/docker/" + kId + "\n"), kId);
}

TEST(Cgroup, TheFirstLineWithAnIdDecides) {
    EXPECT_EQ(
        ContainerIdInCgroup("3:cpu:/\n2:memory:/docker/" + kId + "\n1:pids:/docker/" + kOther),
        kId);
}

TEST(Cgroup, NoContainer) {
    EXPECT_EQ(ContainerIdInCgroup(""), "");
    EXPECT_EQ(ContainerIdInCgroup("0::/\n"), "");
    EXPECT_EQ(ContainerIdInCgroup("0::/user.slice/user-0.slice/session-3.scope\n"), "");
    EXPECT_EQ(ContainerIdInCgroup("no colon at all"), "");
}

TEST(Cgroup, OnlyExactly64LowerCaseDigitsAreAnId) {
    EXPECT_EQ(ContainerIdInCgroup("0::/docker/" + kId.substr(1)), "");
    EXPECT_EQ(ContainerIdInCgroup("0::/docker/" + kId + "0"), "");
    EXPECT_EQ(ContainerIdInCgroup("0::/docker/x" + kId), "");
    EXPECT_EQ(ContainerIdInCgroup("0::/docker/A" + kId.substr(1)), "");
}

TEST(Cgroup, AnIdAmongTheControllersIsNone) {
    EXPECT_EQ(ContainerIdInCgroup("4:name=" + kId + ":/\n"), "");
}

TEST(Mountinfo, Docker) {
    EXPECT_EQ(
        ContainerIdInMountinfo(
            "598 482 0:51 / / rw,relatime - overlay overlay rw,lowerdir=/var/lib/docker/overlay2/l/"
            "ABC,upperdir=/var/lib/docker/overlay2/" +
            kOther + "/diff,workdir=/var/lib/docker/overlay2/" + kOther + "/work\n" +
            Mount("/var/lib/docker/containers/" + kId + "/resolv.conf", "/etc/resolv.conf") +
            Mount("/var/lib/docker/containers/" + kId + "/hostname", "/etc/hostname")),
        kId);
}

TEST(Mountinfo, Podman) {
    EXPECT_EQ(ContainerIdInMountinfo(
                  Mount("/containers/storage/overlay-containers/" + kId + "/userdata/.containerenv",
                        "/run/.containerenv", "tmpfs")),
              kId);
}

TEST(Mountinfo, CriOMountsFilesOfThePodAndOneOfItsOwn) {
    EXPECT_EQ(
        ContainerIdInMountinfo(
            Mount("/containers/storage/overlay-containers/" + kOther + "/userdata/resolv.conf",
                  "/etc/resolv.conf", "tmpfs") +
            Mount("/containers/storage/overlay-containers/" + kId + "/userdata/run/secrets",
                  "/run/secrets", "tmpfs")),
        kId);
}

TEST(Mountinfo, ContainerdByItself) {
    EXPECT_EQ(
        ContainerIdInMountinfo(Mount(
            "/var/lib/nerdctl/1935db59/containers/default/" + kId + "/hostname", "/etc/hostname")),
        kId);
}

TEST(Mountinfo, ContainerdUnderKubernetesShowsTheSandbox) {
    EXPECT_EQ(ContainerIdInMountinfo(Mount(
                  "/var/lib/containerd/io.containerd.grpc.v1.cri/sandboxes/" + kId + "/hostname",
                  "/etc/hostname")),
              kId);
}

TEST(Mountinfo, TheSandboxIsTheLastResort) {
    EXPECT_EQ(
        ContainerIdInMountinfo(
            Mount("/var/lib/containerd/io.containerd.grpc.v1.cri/sandboxes/" + kOther + "/hostname",
                  "/etc/hostname") +
            Mount("/kubepods/burstable/" + kPod + "/" + kId, "/sys/fs/cgroup/memory", "cgroup")),
        kId);
}

TEST(Mountinfo, AGroupPathOfACgroupMountCounts) {
    EXPECT_EQ(ContainerIdInMountinfo(
                  Mount("/../../docker-" + kId + ".scope", "/sys/fs/cgroup", "cgroup2")),
              kId);
}

TEST(Mountinfo, VolumesAndLayersAreNoContainers) {
    EXPECT_EQ(ContainerIdInMountinfo(
                  Mount("/var/lib/docker/volumes/" + kOther + "/_data", "/data") +
                  Mount("/var/lib/docker/overlay2/" + kOther + "/merged", "/etc/hostname")),
              "");
}

TEST(Mountinfo, TheHostsOwnViewOfItsContainersDoesNotCount) {
    EXPECT_EQ(
        ContainerIdInMountinfo(
            Mount("/", "/var/lib/docker/containers/" + kOther + "/mounts/shm", "tmpfs") +
            Mount("/", "/run/containerd/io.containerd.runtime.v2.task/moby/" + kOther + "/rootfs",
                  "overlay")),
        "");
}

TEST(Mountinfo, OtherMountPointsDoNotCount) {
    EXPECT_EQ(
        ContainerIdInMountinfo(Mount("/var/lib/docker/containers/" + kOther, "/host/containers")),
        "");
}

TEST(Mountinfo, AnIdFarBelowTheStoreIsNotTheContainers) {
    EXPECT_EQ(ContainerIdInMountinfo(
                  Mount("/var/lib/docker/containers/a/b/" + kOther + "/x", "/etc/hostname")),
              "");
}

TEST(Mountinfo, BrokenLinesAreHarmless) {
    EXPECT_EQ(ContainerIdInMountinfo(""), "");
    EXPECT_EQ(ContainerIdInMountinfo("\n \n    \n1 2\n1 2 3:4 / /etc/hostname\n"), "");
}
