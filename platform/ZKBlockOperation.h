// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKOperation.h"

#include <functional>

// An operation made of one callable, for short jobs that must run in order
// with a task's other operations.
class ZKBlockOperation : public ZKOperation {
public:
    explicit ZKBlockOperation(std::function<void()> block)
        : m_block(std::move(block)) {}

protected:
    void main() override { m_block(); }

private:
    std::function<void()> m_block;
};
