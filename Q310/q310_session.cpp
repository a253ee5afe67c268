// The process's session.
#include "Q310/q310_session.h"

constinit Q310_Session q310Session = []
{
    Q310_Session session{};
    session.socket.socket_fd = KEL_TCP_INVALID_SOCKET;
    return session;
}();
