// Generated headers include this one for message queues, which no interface here has.
#pragma once
