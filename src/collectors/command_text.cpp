#include "collectors/command_text.h"

#include "kxe_base.h"

CommandText::CommandText(char* out, std::size_t size) : m_out(out), m_size(size) {
    Clear();
}

bool CommandText::Append(const CommandChunk& chunk) {
    const std::size_t left = m_size - m_used;
    const std::size_t length = kxe_str_strlcpy(m_out + m_used, chunk.data(), left);
    if (length >= left) {
        m_used = m_size - 1;
        return false;
    }
    m_used += length;
    return true;
}

void CommandText::DropLastCharacter() {
    if (m_used > 0) {
        m_out[--m_used] = '\0';
    }
}

void CommandText::Clear() {
    m_used = 0;
    m_out[0] = '\0';
}
