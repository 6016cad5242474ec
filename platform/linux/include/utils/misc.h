// Generated headers include this one and use nothing of it.
#pragma once
