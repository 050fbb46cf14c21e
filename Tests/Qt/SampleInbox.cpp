#include "Tests/Qt/CentreWindow.h"

namespace kova::tests {

std::vector<KovaNotification> sampleInbox()
{
    auto inbox = inboxOf(6);
    inbox[0].title = "Seu pedido chegou! 🎉";
    inbox[0].body = "Retire na portaria até às 18h. 📦";
    inbox[1].title = "Promoção de inverno";
    inbox[1].subtitle = "Até 40% de desconto";
    inbox[1].body = "Casacos, botas e cobertores com preços especiais até domingo, em todas as lojas e no site.";
    inbox[1].att = "https://loja.example/inverno.png";
    inbox[2].title = "Pagamento aprovado";
    inbox[2].body = "Recebemos o pagamento do pedido 1042.";
    inbox[2].read = true;
    inbox[3].title = "Um título bastante comprido que não cabe de maneira nenhuma na largura da tela";
    inbox[3].body = "E um texto também comprido, que é cortado no fim com reticências.";
    inbox[4].title = "Avalie sua compra ⭐";
    inbox[4].body = "Conte para nós o que achou.";
    inbox[4].read = true;
    inbox[5].body = "Sem título.";
    inbox[5].title.reset();
    return inbox;
}

} // namespace kova::tests
