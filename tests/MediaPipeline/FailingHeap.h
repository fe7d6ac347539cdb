#pragma once

// From now on, lets the n-th call of operator new in this thread throw std::bad_alloc, once; 0
// takes that back.
void failAllocation(int number);
