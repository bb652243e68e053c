// Where a process's container id stands in the texts of /proc. Pure functions; nothing is read
// here.
#ifndef KXEBASE_CONTAINER_ID_H
#define KXEBASE_CONTAINER_ID_H

#include <cstddef>
#include <string_view>

namespace kxebase {

// Digits of a container id: a 256-bit number in lower-case hexadecimal.
inline constexpr std::size_t kContainerIdLength = 64;

// The container id in the text of /proc/PID/cgroup, cgroup(5): lines "HIERARCHY:CONTROLLERS:PATH",
// for version 2 the one line "0::PATH". The id is a whole path component or a part of one between
// other characters than letters and digits:
//   Docker               /docker/ID                       /system.slice/docker-ID.scope
//   containerd           /kubepods/burstable/podUID/ID    .../cri-containerd-ID.scope
//                        /system.slice/kubepods-podUID.slice:cri-containerd:ID
//   CRI-O                .../crio-ID.scope                .../crio-ID.scope/container
//   Podman               /machine.slice/libpod-ID.scope   /libpod_parent/libpod-ID
// With containers in containers the innermost, the last of the path, counts. The monitor processes
// of CRI-O and Podman ("crio-conmon-ID.scope") are outside of the container whose id their group
// carries, so such a component is passed over. The first line that has an id decides. The result is
// a part of `text`, empty when there is none.
std::string_view ContainerIdInCgroup(std::string_view text);

// The container id in the text of /proc/PID/mountinfo, proc(5), for a process in a cgroup
// namespace, whose cgroup paths begin at its own group. There the runtime gives itself away by the
// files it mounts: the root field (the fourth) of the mounts of /etc/hostname, /etc/hosts,
// /etc/resolv.conf, /run/.containerenv and /run/secrets lies in the directory that it keeps for the
// container, and that of a cgroup mount can still be a full group path.
//   Docker      .../docker/containers/ID/hostname
//   Podman      .../overlay-containers/ID/userdata/hostname
//   CRI-O       .../overlay-containers/ID/userdata/run/secrets; its other files are the pod's, so
//               /run/secrets goes before them
//   containerd  .../nerdctl/HASH/containers/NAMESPACE/ID/hostname;
//               .../io.containerd.grpc.v1.cri/sandboxes/ID/hostname, which is the pod's sandbox and
//               therefore taken only when nothing names the container itself
// Names of image layers and of anonymous volumes are 64 digits long too and are never taken. The
// result is a part of `text`, empty when there is none.
std::string_view ContainerIdInMountinfo(std::string_view text);

}  // namespace kxebase

#endif  // KXEBASE_CONTAINER_ID_H
