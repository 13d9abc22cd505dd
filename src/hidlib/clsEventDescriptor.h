#pragma once

/// A descriptor that one thread makes readable and another waits for.
class clsEventDescriptor {
  public:
    /// std::system_error when descriptors have run out.
    clsEventDescriptor();
    clsEventDescriptor(const clsEventDescriptor&) = delete;
    clsEventDescriptor& operator=(const clsEventDescriptor&) = delete;
    ~clsEventDescriptor();

    [[nodiscard]] int Descriptor() const { return m_descriptor; }
    void Signal();
    void Drain();

  private:
    int m_descriptor;
};
