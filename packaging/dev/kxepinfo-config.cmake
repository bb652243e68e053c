# Defines kxepinfo::kxepinfo, the module, and kxepinfo::autolog, cl_ev, kxebase, noxipc and xmsg, the
# agent's libraries below it. kxepinfo::kxe_bpsdk is there for its header: nothing links it.
#
# kxepinfo_BINDIR is the folder into which a host belongs, since the module finds its files from there.

include(${CMAKE_CURRENT_LIST_DIR}/kxepinfo-targets.cmake)
get_filename_component(kxepinfo_BINDIR ${CMAKE_CURRENT_LIST_DIR}/../../../bin ABSOLUTE)
